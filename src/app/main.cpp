#include "app/core/AppInfo.h"

#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(AppInfo::organizationName());
    QApplication::setApplicationName(AppInfo::applicationName());

    QMainWindow window;
    window.setWindowTitle(AppInfo::applicationName());
    window.resize(1024, 680);
    window.show();
    return app.exec();
}
