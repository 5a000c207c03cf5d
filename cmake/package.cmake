# Contents of the package. `cmake --install` copies them to a folder, from which scripts/package.sh creates an
# archive.
include(CMakePackageConfigHelpers)
include(${CMAKE_CURRENT_LIST_DIR}/reference.cmake)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zelsyshelper-config-version.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)

# Builds binaries and reference for the package, no tests or examples.
add_custom_target(shipped DEPENDS zelsyshelper zelsyshelper-host msvc_library reference)

install(FILES $<TARGET_FILE:zelsyshelper> $<TARGET_FILE:zelsyshelper-host> DESTINATION bin)
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang) # GCC writes no PDBs
    install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zelsyshelper.pdb
        ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/zelsyshelper-host.pdb DESTINATION symbols)
endif()
install(FILES $<TARGET_LINKER_FILE:zelsyshelper> ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/zelsyshelper.lib
    DESTINATION lib)
install(FILES ${PROJECT_BINARY_DIR}/zelsyshelper-config-version.cmake cmake/zelsyshelper-config.cmake
    DESTINATION lib/cmake/zelsyshelper)
install(FILES include/zelsyshelper.h include/zelsyshelper_load.hpp DESTINATION include)
# The single-instance channel as sources: other compilers cannot link object files of this one.
install(DIRECTORY ipc thread DESTINATION src/zelsyshelper-ipc FILES_MATCHING PATTERN *.h PATTERN *.cpp)
install(FILES sys/cs_wrapper.h sys/safe_data_holder.h DESTINATION src/zelsyshelper-ipc/sys)
install(FILES win32/event.h win32/owner.h DESTINATION src/zelsyshelper-ipc/win32)
install(FILES docs/sdk/README.md docs/sdk/NOTICES.txt CHANGELOG.md DESTINATION .)
install(FILES docs/configuration.md docs/exports.md docs/installers.md docs/integration.md
    docs/single-instance.md DESTINATION docs)
install(DIRECTORY ${reference}/ DESTINATION docs/reference
    FILES_MATCHING PATTERN doxygen.css PATTERN index.html PATTERN zelsyshelper_8h.html PATTERN struct*.html)
# Sources of the examples only: the package must contain no build tree and no installed npm module.
install(DIRECTORY examples DESTINATION .
    FILES_MATCHING REGEX "/examples/CMakeLists\\.txt$" REGEX "/examples/[a-z_]+/[a-z_]+\\.(c|cpp|js|nsi)$"
    PATTERN build EXCLUDE PATTERN node_modules EXCLUDE)
