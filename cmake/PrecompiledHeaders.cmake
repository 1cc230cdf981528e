# Precompiled Qt headers. Parsing Qt's headers was most of every compile, so each kind of target
# reuses one precompiled set made once by a small owner target:
#   core        libraries without Widgets (position-independent, QtCore only)
#   gui         the Widgets libraries
#   tests_core  test programs of the core layers (executables: position-independent executables)
#   tests_gui   the other test programs (both made in tests/, where QtTest's macros name the folder)
# A precompiled header is only taken where it was made with the same code-generation options and
# the same definitions of the macros its headers test (QtTest looks for QT_NETWORK_LIB and the like):
# that is why each owner links exactly the Qt modules its users link.
option(LV_PCH "Precompile the Qt headers every target uses" ON)
if(LV_PCH AND CMAKE_OSX_ARCHITECTURES MATCHES ";")
    message(STATUS "Precompiled headers are off for a universal build")
    set(LV_PCH OFF)
endif()

set(lv_pch_core_headers
    <QByteArray> <QCoreApplication> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QJsonDocument>
    <QJsonObject> <QList> <QMutex> <QObject> <QPointer> <QProcess> <QSettings> <QString> <QStringList>
    <QTimer> <QUrl> <QVariant> <QVariantMap> <functional> <memory>)
set(lv_pch_gui_headers ${lv_pch_core_headers}
    <QAccessible> <QApplication> <QEvent> <QLabel> <QMenu> <QMouseEvent> <QPainter> <QPainterPath>
    <QPushButton> <QVBoxLayout> <QWidget>)

# lv_pch_owner(<kind> EXECUTABLE|LIBRARY <Qt targets...>)
function(lv_pch_owner kind type)
    set(owner lv_pch_${kind})
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${owner}.cpp)
    if(type STREQUAL "EXECUTABLE")
        file(CONFIGURE OUTPUT ${source} CONTENT "int main() { return 0; }\n")
        add_executable(${owner} ${source})
    else()
        file(CONFIGURE OUTPUT ${source} CONTENT "// Makes the precompiled header its users share.\n")
        add_library(${owner} STATIC ${source})
    endif()
    target_link_libraries(${owner} PRIVATE ${ARGN})
    set_target_properties(${owner} PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
    if(kind MATCHES "gui$")
        set(headers ${lv_pch_gui_headers})
    else()
        set(headers ${lv_pch_core_headers})
    endif()
    if(kind MATCHES "^tests")
        list(APPEND headers <QtTest>)
    endif()
    target_precompile_headers(${owner} PRIVATE ${headers})
endfunction()

if(LV_PCH)
    lv_pch_owner(core LIBRARY Qt6::Core)
    lv_pch_owner(gui LIBRARY Qt6::Widgets)
endif()

# lv_precompiled_headers(<target> <kind>): the target reuses that kind's precompiled headers.
function(lv_precompiled_headers target kind)
    if(LV_PCH)
        target_precompile_headers(${target} REUSE_FROM lv_pch_${kind})
    endif()
endfunction()
