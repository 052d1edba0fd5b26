# Compiler settings that everything in this tree shares.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(lumora_options INTERFACE)
target_compile_features(lumora_options INTERFACE cxx_std_20)
target_include_directories(lumora_options INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:include/lumora-3>)
target_compile_options(lumora_options INTERFACE $<BUILD_INTERFACE:-Wall -Wextra -Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(lumora_options INTERFACE $<BUILD_INTERFACE:-Wthread-safety>)
endif()
if(LUMORA_SANITIZERS)
    target_compile_options(lumora_options INTERFACE
        $<BUILD_INTERFACE:-fsanitize=${LUMORA_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer>)
    target_link_options(lumora_options INTERFACE $<BUILD_INTERFACE:-fsanitize=${LUMORA_SANITIZERS}>)
endif()
