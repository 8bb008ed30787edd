# The product key data of the firmware-file module: the 32-byte body key and the two DSA public
# keys. VONAUTIL_KEY_FILE names the product's key file (made with make_firmware_key_file.sh);
# without it the development keys in cmake/dev_keys/ are used, which are not for products.
# The keys become ${CMAKE_BINARY_DIR}/generated/firmware_keys.inc, included by firmware_file.cpp.
set(VONAUTIL_KEY_FILE "" CACHE FILEPATH "Firmware key file of the product (empty: development keys, not for products)")

if(VONAUTIL_KEY_FILE)
  set(VONAUTIL_DEV_KEYS OFF)
  set(key_file "${VONAUTIL_KEY_FILE}")
else()
  set(VONAUTIL_DEV_KEYS ON)
  set(key_file "${CMAKE_SOURCE_DIR}/cmake/dev_keys/firmware_keys.txt")
  message(STATUS "Firmware keys: the development keys (NOT FOR PRODUCTS); set VONAUTIL_KEY_FILE for a product")
endif()
if(NOT EXISTS "${key_file}")
  message(FATAL_ERROR "VONAUTIL_KEY_FILE: cannot read '${key_file}'")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${key_file}")

set(key_set "product")
if(VONAUTIL_DEV_KEYS)
  set(key_set "development")
endif()
file(STRINGS "${key_file}" key_lines REGEX "^[a-z_]+[ \t]+[0-9A-Fa-f]+[ \t\r]*$")
set(keys_source "// Generated from ${key_file} by cmake/firmware_keys.cmake; do not edit.\n")
set(all_digits "")
# name in the key file, array name, size in bytes
foreach(entry body_key:kBodyKey:32
              firmware_p:kFirmwareP:257 firmware_q:kFirmwareQ:21 firmware_g:kFirmwareG:256 firmware_y:kFirmwareY:257
              das_p:kDasP:257 das_q:kDasQ:21 das_g:kDasG:256 das_y:kDasY:256)
  string(REPLACE ":" ";" entry "${entry}")
  list(GET entry 0 name)
  list(GET entry 1 array)
  list(GET entry 2 size)
  set(hex "")
  foreach(line IN LISTS key_lines)
    if(line MATCHES "^${name}[ \t]+([0-9A-Fa-f]+)")
      set(hex "${CMAKE_MATCH_1}")
    endif()
  endforeach()
  string(LENGTH "${hex}" digits)
  math(EXPR expected "2 * ${size}")
  if(NOT digits EQUAL expected)
    message(FATAL_ERROR "${key_file}: '${name}' must be ${size} bytes (${expected} hex digits), found ${digits} digits")
  endif()
  string(TOLOWER "${hex}" hex)
  string(APPEND all_digits "${hex}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(APPEND keys_source "const unsigned char ${array}[${size}] = {${bytes}};\n")
endforeach()
# The fingerprint tells key sets apart: the first 16 hex digits of the SHA-256 of all the
# numbers' digits, lower-case, in the order above.
string(SHA256 fingerprint "${all_digits}")
string(SUBSTRING "${fingerprint}" 0 16 fingerprint)
string(APPEND keys_source "const char kKeySet[] = \"${key_set}\";\nconst char kKeyFingerprint[] = \"${fingerprint}\";\n")
file(CONFIGURE OUTPUT "${CMAKE_BINARY_DIR}/generated/firmware_keys.inc" CONTENT "${keys_source}")

target_include_directories(vonautil_objects PRIVATE "${CMAKE_BINARY_DIR}/generated")
# The tests sign digests with the development private keys; with product keys they skip that.
if(TARGET firmware_file_test)
  target_compile_definitions(firmware_file_test PRIVATE VONAUTIL_KEY_FILE_USED="${key_file}")
  if(VONAUTIL_DEV_KEYS)
    target_compile_definitions(firmware_file_test PRIVATE
      VONAUTIL_DEV_KEY_DIR="${CMAKE_SOURCE_DIR}/tests/util/dev_keys")
  endif()
endif()
