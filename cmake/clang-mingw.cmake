# The product's toolchain: clang and LLD, which write PDBs, with the headers and libraries of MinGW-w64.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_STRIP llvm-strip)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

file(GLOB gcc /usr/lib/gcc/x86_64-w64-mingw32/*-posix)
# GCC defines this macro for the target. Without it, both the headers and the library define
# std::type_info::operator==.
set(CMAKE_CXX_FLAGS_INIT "-D__GXX_TYPEINFO_EQUALITY_INLINE=0 \
-isystem ${gcc}/include/c++ -isystem ${gcc}/include/c++/x86_64-w64-mingw32")
foreach(kind EXE SHARED)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -fuse-ld=lld -L${gcc}")
endforeach()
# GCC links the runtime's thread library implicitly, after the C++ library, which needs it. clang does not.
set(CMAKE_CXX_STANDARD_LIBRARIES "-lstdc++ -lpthread -lkernel32 -luser32 -lshell32 -lole32 -luuid -ladvapi32"
    CACHE STRING "")
