// Starts the player: the engine first, then its window.
#include "loadlib.h"
#include "mainwindow.h"

#include <QApplication>

int main(int argc, char** argv) {
    qputenv("QT_AUTO_SCREEN_SCALE_FACTOR", "1");
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION")) {
        // No widget here draws by OpenGL, whose software renderer alone would take 45 MB.
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    }
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application{argc, argv};
    load_engine();
    MainWindow window;
    window.show();
    return QApplication::exec();
}
