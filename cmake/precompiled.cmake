# Precompiled headers for clang. Parsing the headers of the C++ library and of Windows takes most of the time
# of a compilation. The hardened build disables them, and so finds a missing #include.

# zelsys_precompiled(<target> <size | speed | test>)
#
# Compiles a target with precompiled headers. `size` is for targets with -Os, which defines
# __OPTIMIZE_SIZE__; `test` contains GoogleTest.
function(zelsys_precompiled target variant)
    if(TARGET headers_${variant})
        target_precompile_headers(${target} REUSE_FROM headers_${variant})
    endif()
endfunction()

if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    file(CONFIGURE OUTPUT precompiled.cpp CONTENT "")
    foreach(variant size speed test)
        add_library(headers_${variant} OBJECT EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/precompiled.cpp)
        target_link_libraries(headers_${variant} PRIVATE zelsys_options)
        target_precompile_headers(headers_${variant} PRIVATE
            <algorithm> <atomic> <functional> <memory> <mutex> <optional> <string> <string_view> <vector>
            <windows.h>)
    endforeach()
    target_compile_options(headers_size PRIVATE $<$<CONFIG:Release>:-Os>)
    target_link_libraries(headers_test PRIVATE gtest)
    target_precompile_headers(headers_test PRIVATE <gtest/gtest.h>)
endif()
