# Which Qt the project builds against: the instrument's Qt 4.8 (through the qmake of its SDK), or Qt 5.15
# and Qt 6 for desktop development. Everything else in the tree refers to Qt through the QOR_QT_* names set
# here, and the installed names carry the major so that the three builds can be installed side by side:
#
#   major  libraries               pkg-config       CMake package   headers under include/
#   4      libqorhwinfo.so.1       qorhwinfo        QorHwInfo       qorhwinfo/ qorutils/
#   5      libqorhwinfo-qt5.so.1   qorhwinfo-qt5    QorHwInfoQt5    qorhwinfo-qt5/{qorhwinfo,qorutils}/
#   6      libqorhwinfo-qt6.so.1   qorhwinfo-qt6    QorHwInfoQt6    qorhwinfo-qt6/{qorhwinfo,qorutils}/

set(QORHWINFO_QT_MAJOR 5 CACHE STRING "Qt major version to build against: 4, 5 or 6")
set_property(CACHE QORHWINFO_QT_MAJOR PROPERTY STRINGS 4 5 6)

# Test and example components are only looked for when something needs them.
set(qor_need_test_modules OFF)
if(QOR_BUILD_TESTS OR QOR_BUILD_EXAMPLES OR QOR_BUILD_BENCHMARKS OR QOR_BUILD_FUZZERS)
    set(qor_need_test_modules ON)
endif()

if(QORHWINFO_QT_MAJOR STREQUAL "4")
    if(NOT QT_QMAKE_EXECUTABLE)
        message(FATAL_ERROR "Building for Qt 4 needs the qmake of a Qt 4.8 SDK: pass "
            "-DQT_QMAKE_EXECUTABLE=<SDK>/bin/qmake (the instrument's SDK, or the Qt 4.8.7 that "
            "scripts/qt4-sdk unpacks into build/qt4sdk).")
    endif()
    execute_process(COMMAND ${QT_QMAKE_EXECUTABLE} -query QT_VERSION
        OUTPUT_VARIABLE qor_qmake_version OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE qor_qmake_result
        ERROR_QUIET)
    if(NOT qor_qmake_result EQUAL 0)
        message(FATAL_ERROR "QT_QMAKE_EXECUTABLE=${QT_QMAKE_EXECUTABLE} does not run: pass the qmake of a "
            "Qt 4.8 SDK.")
    endif()
    if(NOT qor_qmake_version MATCHES "^4\\.8\\.")
        message(FATAL_ERROR "QT_QMAKE_EXECUTABLE=${QT_QMAKE_EXECUTABLE} is the qmake of Qt "
            "${qor_qmake_version}, not of Qt 4.8: pass the qmake of a Qt 4.8 SDK, or choose "
            "-DQORHWINFO_QT_MAJOR=${qor_qmake_version}.")
    endif()
    set(qor_components QtCore QtGui)
    if(qor_need_test_modules)
        list(APPEND qor_components QtTest)
    endif()
    find_package(Qt4 4.8 REQUIRED COMPONENTS ${qor_components})
    set(QOR_QT_CORE Qt4::QtCore)
    set(QOR_QT_GUI Qt4::QtGui)
    set(QOR_QT_WIDGETS Qt4::QtGui)
    set(QOR_QT_TEST Qt4::QtTest)
    set(QOR_QT_REGEXP "")
    set(QOR_QT_PC_MODULES "QtCore QtGui")
    set(QOR_QT_VERSION ${qor_qmake_version})
    set(QOR_NAME_SUFFIX "")
    # Qt 4 itself is C++98, and so are the applications on the instrument.
    set(QOR_LIBRARY_CXX_STANDARD 98)
    set(QOR_CXX_STANDARD 11)
elseif(QORHWINFO_QT_MAJOR STREQUAL "5")
    set(qor_components Core Gui)
    if(qor_need_test_modules)
        list(APPEND qor_components Test Widgets)
    endif()
    find_package(Qt5 5.15 QUIET COMPONENTS ${qor_components})
    if(NOT Qt5_FOUND)
        message(FATAL_ERROR "Qt 5.15 (${qor_components}) was not found: install qtbase5-dev and "
            "qtbase5-dev-tools, or point CMAKE_PREFIX_PATH at a Qt 5.15.")
    endif()
    set(QOR_QT_CORE Qt5::Core)
    set(QOR_QT_GUI Qt5::Gui)
    set(QOR_QT_WIDGETS Qt5::Widgets)
    set(QOR_QT_TEST Qt5::Test)
    set(QOR_QT_REGEXP "")
    set(QOR_QT_PC_MODULES "Qt5Core Qt5Gui")
    set(QOR_QT_VERSION ${Qt5_VERSION})
    set(QOR_NAME_SUFFIX "-qt5")
    set(QOR_LIBRARY_CXX_STANDARD 11)
    set(QOR_CXX_STANDARD 11)
elseif(QORHWINFO_QT_MAJOR STREQUAL "6")
    # QRegExp, which the validator's patterns are, lives in Core5Compat in Qt 6.
    set(qor_components Core Gui Core5Compat)
    if(qor_need_test_modules)
        list(APPEND qor_components Test Widgets)
    endif()
    find_package(Qt6 6.2 QUIET COMPONENTS ${qor_components})
    if(NOT Qt6_FOUND)
        message(FATAL_ERROR "Qt 6 (${qor_components}) was not found: install qt6-base-dev, "
            "qt6-base-dev-tools and qt6-5compat-dev, or point CMAKE_PREFIX_PATH at a Qt 6.")
    endif()
    set(QOR_QT_CORE Qt6::Core)
    set(QOR_QT_GUI Qt6::Gui)
    set(QOR_QT_WIDGETS Qt6::Widgets)
    set(QOR_QT_TEST Qt6::Test)
    set(QOR_QT_REGEXP Qt6::Core5Compat)
    set(QOR_QT_PC_MODULES "Qt6Core Qt6Gui Qt6Core5Compat")
    set(QOR_QT_VERSION ${Qt6_VERSION})
    set(QOR_NAME_SUFFIX "-qt6")
    set(QOR_LIBRARY_CXX_STANDARD 17)
    set(QOR_CXX_STANDARD 17)
else()
    message(FATAL_ERROR "QORHWINFO_QT_MAJOR=${QORHWINFO_QT_MAJOR}: choose 4, 5 or 6.")
endif()

if(QOR_NAME_SUFFIX STREQUAL "")
    set(QOR_PACKAGE_NAME QorHwInfo)
    set(QOR_INCLUDE_SUBDIR "")
else()
    set(QOR_PACKAGE_NAME QorHwInfoQt${QORHWINFO_QT_MAJOR})
    set(QOR_INCLUDE_SUBDIR qorhwinfo${QOR_NAME_SUFFIX})
endif()
if(QOR_INCLUDE_SUBDIR)
    set(QOR_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/${QOR_INCLUDE_SUBDIR})
else()
    set(QOR_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
endif()
message(STATUS "Building qorhwinfo for Qt ${QOR_QT_VERSION}: libqorhwinfo${QOR_NAME_SUFFIX}.so.1, "
    "CMake package ${QOR_PACKAGE_NAME}")
