# Writes a source that defines the contents of the start page's files as constants, which PageData.h declares:
# cmake -D FOLDER=... -D OUTPUT=... -P EmbedFiles.cmake
function(embed name file)
  file(READ ${FOLDER}/${file} digits HEX)
  string(LENGTH "${digits}" count)
  math(EXPR size "${count} / 2")
  string(REGEX REPLACE "(..)" "\\\\x\\1" literal "${digits}")
  # In lines of 16 bytes.
  string(REGEX REPLACE "(................................................................)" "\\1\"\n  \"" literal "${literal}")
  set(source "${source}const std::string_view ${name}(\n  \"${literal}\", ${size});\n\n" PARENT_SCOPE)
endfunction()

set(source "#include \"PageData.h\"\n\nnamespace frontend::share::pagedata {\n\n")
embed(html index.html)
embed(style page.css)
embed(script page.js)
embed(icon icon.png)
file(WRITE ${OUTPUT} "${source}}  // namespace frontend::share::pagedata\n")
