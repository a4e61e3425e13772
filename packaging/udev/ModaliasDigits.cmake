# As a modalias spells it: four digits in upper case, without a mark.
function(q750_modalias_digits identifier result)
  math(EXPR value "${${identifier}}")
  if(value LESS 0 OR value GREATER 65535)
    message(FATAL_ERROR "${identifier} is ${${identifier}}, but USB identifiers end at 0xFFFF.")
  endif()
  math(EXPR padded "${value} + 65536" OUTPUT_FORMAT HEXADECIMAL)  # 0x1 and four digits
  string(SUBSTRING "${padded}" 3 4 digits)
  string(TOUPPER "${digits}" digits)
  set(${result} "${digits}" PARENT_SCOPE)
endfunction()
