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

# The export header of a library, with the macros its public headers use for what C++11 added: the headers
# are included by C++98 applications on the instrument and by C++17 ones on a desktop alike.
function(qor_export_header target base)
    string(TOUPPER ${base} upper)
    set(compat_content "
/* override and noexcept where the including code's language has them (C++11 and later). */
#if __cplusplus >= 201103L
#  define ${upper}_OVERRIDE override
#  define ${upper}_NOEXCEPT noexcept
#else
#  define ${upper}_OVERRIDE
#  define ${upper}_NOEXCEPT throw()
#endif
")
    generate_export_header(${target} BASE_NAME ${base}
        EXPORT_FILE_NAME ${CMAKE_BINARY_DIR}/include/${base}/${base}_export.h
        CUSTOM_CONTENT_FROM_VARIABLE compat_content)
endfunction()

# Settings every library source follows: the C++ standard of the Qt in use (gnu++98 for Qt 4, as the
# instrument's own code is built), and strict string casts that keep the code honest about encodings.
function(qor_library_defaults target)
    set_target_properties(${target} PROPERTIES CXX_STANDARD ${QOR_LIBRARY_CXX_STANDARD})
    target_compile_features(${target} PUBLIC cxx_std_${QOR_LIBRARY_CXX_STANDARD})
    if(QOR_LIBRARY_CXX_STANDARD EQUAL 98)
        set_target_properties(${target} PROPERTIES CXX_EXTENSIONS ON)
        # qint64 constants (Q_INT64_C) are long long literals, which C++98 only has as an extension.
        target_compile_options(${target} PRIVATE -Wno-long-long)
    endif()
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII
                                                 QT_NO_CAST_FROM_BYTEARRAY QT_USE_QSTRINGBUILDER)
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${CMAKE_BINARY_DIR}/include>
                                                $<INSTALL_INTERFACE:${QOR_INSTALL_INCLUDEDIR}>)
    if(QOR_INSTALL_RPATH)
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()
endfunction()

# A Qt Test executable registered with CTest. GUI tests need a display: Qt 5 and 6 have the offscreen
# platform, Qt 4 only X11, so under Qt 4 they run in a virtual X server (xvfb-run).
function(qor_add_test name)
    cmake_parse_arguments(ARG "GUI" "" "SOURCES;LIBS;ENV" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${QOR_QT_TEST} qortest_compat ${ARG_LIBS})
    set(command ${name})
    if(ARG_GUI AND QORHWINFO_QT_MAJOR EQUAL 4)
        find_program(XVFB_RUN xvfb-run)
        if(NOT XVFB_RUN)
            message(FATAL_ERROR "The Qt 4 widget tests need a virtual X server: install xvfb and xauth.")
        endif()
        set(command ${XVFB_RUN} -a -s "-screen 0 1024x768x24" $<TARGET_FILE:${name}>)
    endif()
    add_test(NAME ${name} COMMAND ${command})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${ARG_ENV}")
endfunction()
