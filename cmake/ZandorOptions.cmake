# Language standard, warnings and sanitizers for every target of this project.

add_library(zandor_options INTERFACE)
target_compile_features(zandor_options INTERFACE cxx_std_20)
target_compile_options(zandor_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

if(ZANDOR_SANITIZER STREQUAL "address")
  set(sanitizer_flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer -O1)
elseif(ZANDOR_SANITIZER STREQUAL "thread")
  set(sanitizer_flags -fsanitize=thread -fno-omit-frame-pointer -O1)
elseif(NOT ZANDOR_SANITIZER STREQUAL "")
  message(FATAL_ERROR "ZANDOR_SANITIZER must be empty, address or thread")
endif()
if(sanitizer_flags)
  target_compile_options(zandor_options INTERFACE ${sanitizer_flags})
  target_link_options(zandor_options INTERFACE ${sanitizer_flags})
endif()

# Text is converted on purpose or not at all.
add_library(zandor_qt_options INTERFACE)
target_compile_definitions(zandor_qt_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
  QT_USE_QSTRINGBUILDER QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
