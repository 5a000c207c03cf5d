# Compiler and linker settings that all of our own targets share.
add_library(zelsys_options INTERFACE)
target_compile_features(zelsys_options INTERFACE cxx_std_20)
target_compile_options(zelsys_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Werror
    # Names in log lines stay relative, and no path of the building machine ends up in a binary.
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(WIN32)
    target_compile_definitions(zelsys_options INTERFACE
        UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX WINVER=0x0601 _WIN32_WINNT=0x0601)
    target_compile_options(zelsys_options INTERFACE -ffunction-sections -fdata-sections)
    if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
        target_compile_options(zelsys_options INTERFACE -g -gcodeview -ffile-compilation-dir=.)
        file(RELATIVE_PATH relative_source ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
        foreach(step COMPILE LINK)
            set_property(GLOBAL PROPERTY RULE_LAUNCH_${step} "\"${PROJECT_SOURCE_DIR}/cmake/launch.sh\" \
\"${PROJECT_SOURCE_DIR}\" ${relative_source} \"${PROJECT_BINARY_DIR}\"")
        endforeach()
    endif()
    target_link_options(zelsys_options INTERFACE
        -Wl,--gc-sections
        -s
        -Wl,--dynamicbase,--high-entropy-va,--nxcompat
        -Wl,--no-insert-timestamp)
    if(ZELSYS_HARDENED)
        target_compile_options(zelsys_options INTERFACE
            -fsanitize=undefined -fno-sanitize=vptr -fsanitize-undefined-trap-on-error)
        target_compile_definitions(zelsys_options INTERFACE _GLIBCXX_ASSERTIONS)
        add_library(zelsys_guarded_heap OBJECT tests/support/guarded_heap.cpp)
    endif()
elseif(ZELSYS_SANITIZE OR ZELSYS_FUZZ)
    target_compile_options(zelsys_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
    target_link_options(zelsys_options INTERFACE -fsanitize=address,undefined)
    if(ZELSYS_FUZZ)
        target_compile_options(zelsys_options INTERFACE -fsanitize=fuzzer-no-link)
        target_compile_definitions(zelsys_options INTERFACE _GLIBCXX_ASSERTIONS)
    endif()
endif()

# zelsys_symbols(<target>)
#
# Writes build/bin/<target>.pdb. The debug directory of the DLL or program holds its GUID and its name.
function(zelsys_symbols target)
    if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
        target_link_options(${target} PRIVATE
            -Wl,--pdb=bin/${target}.pdb -Wl,-Xlink=-pdbaltpath:%_PDB% -Wl,-Xlink=-pdbsourcepath:${target})
        # With a PDB, LLD keeps the DWARF of the runtime libraries.
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_STRIP} --strip-all $<TARGET_FILE:${target}>)
    endif()
endfunction()

# zelsys_folder(<target> <folder> [HOT] [PURE files...] [WINDOWS files...] [DEPENDS targets...])
#
# One static library for one folder. PURE files know nothing of Windows and build everywhere; WINDOWS files
# are left out of native builds. A folder's headers are reachable only by targets that depend on it: each
# folder gets an include root of its own, a link in the build tree, so that a forbidden dependency does not
# compile. HOT folders are compiled for speed, all others for size: they wait for the disk, the network or the
# system anyway.
function(zelsys_folder target folder)
    cmake_parse_arguments(arg "HOT" "" "PURE;WINDOWS;DEPENDS" ${ARGN})
    set(sources ${arg_PURE})
    if(WIN32)
        list(APPEND sources ${arg_WINDOWS})
    endif()

    set(root ${PROJECT_BINARY_DIR}/include-roots/${target})
    get_filename_component(parent ${root}/${folder} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder} ${root}/${folder} SYMBOLIC)

    # A debugger finds the header where it lies.
    set(header_map -ffile-prefix-map=include-roots/${target}/=)
    if(sources)
        list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/${folder}/)
        add_library(${target} STATIC ${sources})
        target_include_directories(${target} PUBLIC ${root})
        target_compile_options(${target} PUBLIC ${header_map})
        target_link_libraries(${target} PUBLIC ${arg_DEPENDS} PRIVATE zelsys_options)
        if(NOT arg_HOT AND CMAKE_BUILD_TYPE STREQUAL Release)
            target_compile_options(${target} PRIVATE -Os)
        endif()
    else()
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${root})
        target_compile_options(${target} INTERFACE ${header_map})
        target_link_libraries(${target} INTERFACE ${arg_DEPENDS})
    endif()
endfunction()
