# What a package holds. `cmake --install` puts it into a folder; scripts/package.sh makes an archive of that.
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelsyshelper-config-version.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)

# The serving side of the single-instance channel, which applications link: one archive for its four folders.
add_library(zelsyshelper_ipc STATIC
    $<TARGET_OBJECTS:ipc> $<TARGET_OBJECTS:thread> $<TARGET_OBJECTS:win32>)
set_target_properties(zelsyshelper_ipc PROPERTIES LINKER_LANGUAGE CXX)

# What a package is made of, without tests and examples.
add_custom_target(shipped DEPENDS zelsyshelper zelsyshelper-host zelsyshelper_ipc msvc_library)

install(FILES $<TARGET_FILE:zelsyshelper> $<TARGET_FILE:zelsyshelper-host> DESTINATION bin)
install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zelsyshelper.pdb
    ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zelsyshelper-host.pdb DESTINATION symbols)
install(FILES $<TARGET_LINKER_FILE:zelsyshelper> $<TARGET_FILE:zelsyshelper_ipc>
    ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/zelsyshelper.lib DESTINATION lib)
install(FILES ${PROJECT_BINARY_DIR}/zelsyshelper-config-version.cmake cmake/zelsyshelper-config.cmake
    DESTINATION lib/cmake/zelsyshelper)
install(DIRECTORY include/ DESTINATION include)
install(DIRECTORY ipc thread sys DESTINATION include/zelsyshelper-ipc FILES_MATCHING PATTERN *.h)
install(FILES win32/owner.h DESTINATION include/zelsyshelper-ipc/win32)
install(FILES README.md CHANGELOG.md DESTINATION .)
install(DIRECTORY docs DESTINATION .)
