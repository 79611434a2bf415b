# Compiler settings that every target of the project shares.
add_library(calorix_options INTERFACE)
target_include_directories(calorix_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(calorix_options INTERFACE
    -Wall -Wextra -Wpedantic
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast>
    -Wcast-qual)
target_compile_definitions(calorix_options INTERFACE
    QT_NO_CAST_TO_ASCII QT_STRICT_ITERATORS QT_DEPRECATED_WARNINGS)

if(CALORIX_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
elseif(CALORIX_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(NOT CALORIX_SANITIZE STREQUAL "")
    message(FATAL_ERROR "CALORIX_SANITIZE is '${CALORIX_SANITIZE}': use address, thread or nothing")
endif()
