# Compiler settings that everything in this tree shares.
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# A header's inline code is the host's own copy there and ours here: neither takes the other's place.
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(lumora_options INTERFACE)
target_compile_features(lumora_options INTERFACE cxx_std_20)
target_include_directories(lumora_options INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:include/lumora-3>)
target_compile_options(lumora_options INTERFACE $<BUILD_INTERFACE:-Wall -Wextra -Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(lumora_options INTERFACE $<BUILD_INTERFACE:-Wthread-safety>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # False alarms of this compiler: about a literal joined to a text (its bug 105651), and about comparing vectors by <=>.
    target_compile_options(lumora_options INTERFACE $<BUILD_INTERFACE:-Wno-restrict -Wno-stringop-overread>)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A designated initialiser leaves the other members at their defaults, on purpose.
    target_compile_options(lumora_options INTERFACE $<BUILD_INTERFACE:-Wno-missing-field-initializers>)
endif()
if(LUMORA_SANITIZERS)
    target_compile_options(lumora_options INTERFACE
        $<BUILD_INTERFACE:-fsanitize=${LUMORA_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer>)
    target_link_options(lumora_options INTERFACE $<BUILD_INTERFACE:-fsanitize=${LUMORA_SANITIZERS}>)
endif()
