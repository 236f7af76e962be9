# The API reference (target apidocs): Doxygen over the headers that an installation carries, with the
# overview docs/api-reference.md as its main page, into docs/api/html of the build tree. Warnings are errors,
# so an undocumented public class, function or value fails the target.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
    return()
endif()

# Private headers end in _p.h; hwinfo/ keeps its private ones apart from the two public headers.
file(GLOB qor_qorutils_headers ${PROJECT_SOURCE_DIR}/qorutils/*.h)
list(FILTER qor_qorutils_headers EXCLUDE REGEX "_p\\.h$")
set(qor_apidocs_headers
    ${PROJECT_SOURCE_DIR}/docs/api-reference.md
    ${PROJECT_SOURCE_DIR}/hwinfo/hwinfohelper.h
    ${PROJECT_SOURCE_DIR}/validator/unitserialvalidator.h
    ${qor_qorutils_headers})
list(JOIN qor_apidocs_headers " " QOR_APIDOCS_INPUT)
set(QOR_APIDOCS_DIR ${CMAKE_BINARY_DIR}/docs/api)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${CMAKE_BINARY_DIR}/docs/Doxyfile @ONLY)
add_custom_target(apidocs
    COMMAND ${CMAKE_COMMAND} -E remove_directory ${QOR_APIDOCS_DIR}
    COMMAND Doxygen::doxygen ${CMAKE_BINARY_DIR}/docs/Doxyfile
    COMMAND ${CMAKE_COMMAND} -E echo "API reference: ${QOR_APIDOCS_DIR}/html/index.html"
    DEPENDS ${qor_apidocs_headers} ${PROJECT_SOURCE_DIR}/docs/Doxyfile.in
    COMMENT "Doxygen: the API reference of libqorhwinfo and libqorutils"
    VERBATIM)
