# The version macros of the public header must match the project's version.
set(version_header ${PROJECT_SOURCE_DIR}/include/zelsyshelper.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
file(STRINGS ${version_header} version_macros REGEX "^#define ZELSYSHELPER_VERSION")
string(REGEX MATCHALL "[0-9][0-9.]*" version_macros "${version_macros}")
list(JOIN version_macros " " version_macros)
if(NOT version_macros STREQUAL
   "${PROJECT_VERSION_MAJOR} ${PROJECT_VERSION_MINOR} ${PROJECT_VERSION_PATCH} ${PROJECT_VERSION}")
    message(FATAL_ERROR "The version macros of ${version_header} do not match version ${PROJECT_VERSION}")
endif()

# zelsys_version(<target> <file name> <type> <description> [<name> <value>]...)
#
# Adds a version resource to a program or DLL. The type is VFT_APP or VFT_DLL. The pairs of name and value
# become further texts of the resource.
function(zelsys_version target file type description)
    set(values "")
    while(ARGN)
        list(POP_FRONT ARGN name value)
        string(APPEND values "            VALUE \"${name}\", \"${value}\"\n")
    endwhile()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in version.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/version.rc)
endfunction()
