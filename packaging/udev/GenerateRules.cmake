# Writes the udev rule for the identity Q750_VENDOR_ID and Q750_PRODUCT_ID to the file Q750_UDEV_RULES, and that of the
# network server to Q750_SHARE_UDEV_RULES, if that is set. A script of its own too, as GenerateHwdb.cmake is.

include(${CMAKE_CURRENT_LIST_DIR}/ModaliasDigits.cmake)
q750_modalias_digits(Q750_VENDOR_ID q750_vendor)
q750_modalias_digits(Q750_PRODUCT_ID q750_product)
# sysfs has the same digits in lower case, and udev compares them as text.
string(TOLOWER "${q750_vendor}" q750_vendor)
string(TOLOWER "${q750_product}" q750_product)
configure_file(${CMAKE_CURRENT_LIST_DIR}/60-quenvar-q750.rules.in ${Q750_UDEV_RULES} @ONLY)
if(Q750_SHARE_UDEV_RULES)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/61-quenvar-q750-share.rules.in ${Q750_SHARE_UDEV_RULES} @ONLY)
endif()
