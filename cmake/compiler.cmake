# Compiler and linker settings of all targets of this project.
add_library(zelsys_options INTERFACE)
target_compile_features(zelsys_options INTERFACE cxx_std_20)
target_compile_options(zelsys_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Werror
    # File names in log lines are relative, and no binary contains a path of the building machine.
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
    if(gcc) # set by clang-mingw.cmake
        # LLD needs symbols that are stripped from the installed library: section_symbols.py adds them to a
        # copy. If the library or the script changes, the copy's path changes too, and everything is linked
        # again.
        set(script ${CMAKE_CURRENT_LIST_DIR}/section_symbols.py)
        set(original ${gcc}/libstdc++.a)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${script} ${original})
        file(SHA256 ${script} script_hash)
        file(SHA256 ${original} original_hash)
        string(SHA256 hash ${script_hash}${original_hash})
        string(SUBSTRING ${hash} 0 12 hash)
        set(copy ${PROJECT_BINARY_DIR}/runtime/${hash}/libstdc++.a)
        if(NOT EXISTS ${copy})
            file(REMOVE_RECURSE ${PROJECT_BINARY_DIR}/runtime)
            file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/runtime/${hash})
            foreach(command "python3;${script};${original};${copy}.new" "${CMAKE_RANLIB};${copy}.new")
                execute_process(COMMAND ${command} COMMAND_ERROR_IS_FATAL ANY)
            endforeach()
            file(RENAME ${copy}.new ${copy})
        endif()
        # Precedes -lstdc++, so that LLD takes all members from the copy.
        string(PREPEND CMAKE_CXX_STANDARD_LIBRARIES "\"${copy}\" ")
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
# Writes build/bin/<target>.pdb. The debug directory of the DLL or program contains the PDB's GUID and file
# name.
function(zelsys_symbols target)
    if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
        target_link_options(${target} PRIVATE
            -Wl,--pdb=bin/${target}.pdb -Wl,-Xlink=-pdbaltpath:%_PDB% -Wl,-Xlink=-pdbsourcepath:${target})
        # With --pdb, LLD keeps the DWARF sections of the runtime libraries.
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_STRIP} --strip-all $<TARGET_FILE:${target}>)
    endif()
endfunction()

# zelsys_folder(<target> <folder> [HOT] [PURE files...] [WINDOWS files...] [DEPENDS targets...])
#
# Defines a static library for one folder. PURE files do not use Windows and build everywhere. Native builds
# skip WINDOWS files. Each folder has its own include root, a link in the build tree, so that only targets
# that depend on a folder can include its headers: a forbidden dependency does not compile. HOT folders are
# compiled for speed, all others for size, because they wait for the disk, the network or the system.
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

    # Debug information names a header's real path, not the include root: debuggers then find the file.
    set(header_map -ffile-prefix-map=include-roots/${target}/=)
    if(sources)
        list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/${folder}/)
        add_library(${target} STATIC ${sources})
        target_include_directories(${target} PUBLIC ${root})
        target_compile_options(${target} PUBLIC ${header_map})
        target_link_libraries(${target} PUBLIC ${arg_DEPENDS} PRIVATE zelsys_options)
        if(arg_HOT)
            zelsys_precompiled(${target} speed)
        else()
            zelsys_precompiled(${target} size)
            target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Os>)
        endif()
    else()
        add_library(${target} INTERFACE)
        target_include_directories(${target} INTERFACE ${root})
        target_compile_options(${target} INTERFACE ${header_map})
        target_link_libraries(${target} INTERFACE ${arg_DEPENDS})
    endif()
endfunction()
