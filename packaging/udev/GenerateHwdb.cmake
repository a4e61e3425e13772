# Writes the hwdb entry for the identity Q750_VENDOR_ID and Q750_PRODUCT_ID to the file Q750_HWDB. A script of
# its own too: cmake -D Q750_VENDOR_ID=... -D Q750_PRODUCT_ID=... -D Q750_HWDB=... -P GenerateHwdb.cmake

include(${CMAKE_CURRENT_LIST_DIR}/ModaliasDigits.cmake)
q750_modalias_digits(Q750_VENDOR_ID q750_vendor)
q750_modalias_digits(Q750_PRODUCT_ID q750_product)
configure_file(${CMAKE_CURRENT_LIST_DIR}/20-sane-quenvar.hwdb.in ${Q750_HWDB} @ONLY)
