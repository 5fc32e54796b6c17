#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Tessary"));
    QApplication::setApplicationName(QStringLiteral("Quillarc"));

    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Quillarc"));
    window.resize(1024, 680);
    window.show();
    return app.exec();
}
