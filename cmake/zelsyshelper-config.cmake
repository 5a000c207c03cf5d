# find_package(zelsyshelper) defines
#   zelsyshelper::zelsyshelper   the DLL, through its import library
#   zelsyshelper::ipc            the single-instance channel; the project that links it compiles the sources
#                                in src/zelsyshelper-ipc, and needs C++20 and the language CXX
get_filename_component(zelsyshelper_root "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

if(NOT TARGET zelsyshelper::zelsyshelper)
    if(MSVC)
        set(zelsyshelper_import_library ${zelsyshelper_root}/lib/zelsyshelper.lib)
    else()
        set(zelsyshelper_import_library ${zelsyshelper_root}/lib/libzelsyshelper.dll.a)
    endif()
    add_library(zelsyshelper::zelsyshelper SHARED IMPORTED)
    set_target_properties(zelsyshelper::zelsyshelper PROPERTIES
        IMPORTED_LOCATION ${zelsyshelper_root}/bin/zelsyshelper.dll
        IMPORTED_IMPLIB ${zelsyshelper_import_library}
        INTERFACE_INCLUDE_DIRECTORIES ${zelsyshelper_root}/include)
endif()

get_property(zelsyshelper_languages GLOBAL PROPERTY ENABLED_LANGUAGES)
if(CXX IN_LIST zelsyshelper_languages AND NOT TARGET zelsyshelper::ipc)
    file(GLOB zelsyshelper_sources ${zelsyshelper_root}/src/zelsyshelper-ipc/*/*.cpp)
    add_library(zelsyshelper_ipc STATIC EXCLUDE_FROM_ALL ${zelsyshelper_sources})
    add_library(zelsyshelper::ipc ALIAS zelsyshelper_ipc)
    target_compile_features(zelsyshelper_ipc PUBLIC cxx_std_20)
    target_include_directories(zelsyshelper_ipc PRIVATE ${zelsyshelper_root}/src/zelsyshelper-ipc)
    target_include_directories(zelsyshelper_ipc SYSTEM INTERFACE ${zelsyshelper_root}/src/zelsyshelper-ipc)
    target_link_libraries(zelsyshelper_ipc PUBLIC advapi32 user32)
    # The project may have set these for its own sources.
    set_target_properties(zelsyshelper_ipc PROPERTIES
        COMPILE_WARNING_AS_ERROR OFF CXX_SCAN_FOR_MODULES OFF UNITY_BUILD OFF)
endif()
