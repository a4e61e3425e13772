# Writes the hwdb entry for the identity Q750_VENDOR_ID and Q750_PRODUCT_ID to the file Q750_HWDB. A script of its own
# too: cmake -D Q750_VENDOR_ID=... -D Q750_PRODUCT_ID=... -D Q750_HWDB=... -P GenerateHwdb.cmake

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

q750_modalias_digits(Q750_VENDOR_ID q750_vendor)
q750_modalias_digits(Q750_PRODUCT_ID q750_product)
configure_file(${CMAKE_CURRENT_LIST_DIR}/20-sane-quenvar.hwdb.in ${Q750_HWDB} @ONLY)
