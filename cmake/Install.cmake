# What a host needs: the library, its bundle, its headers and those of the platform that they stand on.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(lumora_include ${CMAKE_INSTALL_INCLUDEDIR}/lumora-3)
install(TARGETS lumora lumora_options EXPORT LumoraTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/lumora DESTINATION ${lumora_include})
# The optional engine is for programs of this tree.
install(DIRECTORY platform DESTINATION ${lumora_include} FILES_MATCHING PATTERN "*.h" PATTERN linux EXCLUDE
    PATTERN WebKitEngine.h EXCLUDE)
install(DIRECTORY ${LUMORA_BUNDLE_DIR} DESTINATION ${CMAKE_INSTALL_DATADIR}/lumora-3)
install(EXPORT LumoraTargets NAMESPACE Lumora:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Lumora)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LumoraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/LumoraConfig.cmake ${PROJECT_BINARY_DIR}/LumoraConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Lumora)
