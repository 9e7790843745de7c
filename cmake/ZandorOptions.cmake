# Language standard, warnings and sanitizers for every target of this project.

# What only tests link is not searched for undefined behaviour of its own: that is 40 % of the time it takes to compile.
define_property(TARGET PROPERTY ZANDOR_TEST_CODE INITIALIZE_FROM_VARIABLE ZANDOR_TEST_CODE)

add_library(zandor_options INTERFACE)
target_compile_features(zandor_options INTERFACE cxx_std_20)
target_compile_options(zandor_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

if(ZANDOR_SANITIZER STREQUAL "address")
  set(sanitizer_flags -fsanitize=address -fno-omit-frame-pointer -O1)
  set(undefined_flags -fsanitize=undefined -fno-sanitize-recover=undefined)
elseif(ZANDOR_SANITIZER STREQUAL "thread")
  set(sanitizer_flags -fsanitize=thread -fno-omit-frame-pointer -O1)
elseif(NOT ZANDOR_SANITIZER STREQUAL "")
  message(FATAL_ERROR "ZANDOR_SANITIZER must be empty, address or thread")
endif()
if(sanitizer_flags)
  target_compile_options(zandor_options INTERFACE ${sanitizer_flags}
    "$<$<NOT:$<BOOL:$<TARGET_PROPERTY:ZANDOR_TEST_CODE>>>:${undefined_flags}>")
  target_link_options(zandor_options INTERFACE ${sanitizer_flags} ${undefined_flags})
endif()

# Text is converted on purpose or not at all.
add_library(zandor_qt_options INTERFACE)
target_compile_definitions(zandor_qt_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING
  QT_USE_QSTRINGBUILDER QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
