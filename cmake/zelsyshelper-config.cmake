# find_package(zelsyshelper) gives
#   zelsyshelper::zelsyshelper   the DLL by its import library
#   zelsyshelper::ipc            the serving side of the single-instance channel (MinGW, C++20)
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

    if(NOT MSVC)
        add_library(zelsyshelper::ipc STATIC IMPORTED)
        set_target_properties(zelsyshelper::ipc PROPERTIES
            IMPORTED_LOCATION ${zelsyshelper_root}/lib/libzelsyshelper_ipc.a
            INTERFACE_INCLUDE_DIRECTORIES ${zelsyshelper_root}/include/zelsyshelper-ipc
            INTERFACE_COMPILE_FEATURES cxx_std_20)
    endif()
endif()
