# Helpers shared by the libraries, tools and tests.

# Public headers are included as <prefix/header.h>. In the build tree a forwarding header under
# ${CMAKE_BINARY_DIR}/include/<prefix>/ points at the source, so the layout matches an installation.
function(qor_forward_headers prefix)
    foreach(header ${ARGN})
        get_filename_component(name ${header} NAME)
        get_filename_component(abs ${header} ABSOLUTE)
        set(out ${CMAKE_BINARY_DIR}/include/${prefix}/${name})
        set(content "#include \"${abs}\"\n")
        if(EXISTS ${out})
            file(READ ${out} old)
        endif()
        if(NOT old STREQUAL content)
            file(WRITE ${out} "${content}")
        endif()
    endforeach()
endfunction()

# Settings every library source follows: strict string casts keep the code honest about encodings and keep
# it within the API that Qt 4.8 and Qt 5 share.
function(qor_library_defaults target)
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII
                                                 QT_NO_CAST_FROM_BYTEARRAY QT_USE_QSTRINGBUILDER)
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${CMAKE_BINARY_DIR}/include>
                                                $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# A Qt Test executable registered with CTest.
function(qor_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;ENV" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE Qt5::Test ${ARG_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${ARG_ENV}")
endfunction()
