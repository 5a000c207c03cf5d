# Generates the reference of the exports as HTML from the comments of the public header.
find_program(DOXYGEN doxygen REQUIRED)
set(reference ${PROJECT_BINARY_DIR}/reference)
set(reference_sources ${PROJECT_SOURCE_DIR}/include/zelsyshelper.h)
foreach(file Doxyfile header.html footer.html)
    list(APPEND reference_sources ${PROJECT_SOURCE_DIR}/tools/docs/${file})
endforeach()
add_custom_command(OUTPUT ${reference}/index.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${reference}
    COMMAND ${CMAKE_COMMAND} -E env OUTPUT=${reference} VERSION=${PROJECT_VERSION}
        ${DOXYGEN} tools/docs/Doxyfile
    # Doxygen names a header's page after the file and leaves the front page empty.
    COMMAND ${CMAKE_COMMAND} -E copy ${reference}/zelsyshelper_8h.html ${reference}/index.html
    DEPENDS ${reference_sources}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    VERBATIM)
add_custom_target(reference DEPENDS ${reference}/index.html)
