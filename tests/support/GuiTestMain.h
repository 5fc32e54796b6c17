#pragma once

#include "TestSupport.h"
#include "app/core/AppInfo.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>

/// The main() of a window test: a fresh home (HOME, XDG folders, runtime
/// folder, and so the settings) and an instance-channel name of its own are
/// in place before the application object exists, so window tests never see
/// the user's settings or each other's.
#define QUILLARC_GUI_TEST_MAIN(TestObject)                                                                             \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        TemporaryHome home;                                                                                            \
        const QString runtime = home.path() + QStringLiteral("/runtime");                                              \
        QDir().mkpath(runtime);                                                                                        \
        QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);      \
        qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());                                                                  \
        qputenv(                                                                                                       \
            "QUILLARC_INSTANCE_NAME", QByteArray("test-") + QByteArray::number(QCoreApplication::applicationPid()));   \
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))                                                            \
            qputenv("QT_QPA_PLATFORM", "offscreen");                                                                   \
        QCoreApplication::setOrganizationName(AppInfo::organizationName());                                            \
        QCoreApplication::setApplicationName(AppInfo::applicationName());                                              \
        QApplication app(argc, argv);                                                                                  \
        app.setQuitOnLastWindowClosed(false);                                                                          \
        TestObject test;                                                                                               \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
