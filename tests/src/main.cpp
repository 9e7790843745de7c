// Runs the application's tests. A slot that connect-by-name cannot connect fails them.
#include <QApplication>
#include <QDir>
#include <QTextStream>

#include <gtest/gtest.h>

#include <atomic>

namespace {

std::atomic<int> unconnected_slots{0};
QtMessageHandler previous_handler = nullptr;

void watch_messages(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.contains(QLatin1String("connectSlotsByName"))) {
        ++unconnected_slots;
    }
    previous_handler(type, context, text);
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS(); // the build asks for the names; it has no display and needs none
    }
    previous_handler = qInstallMessageHandler(watch_messages);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application{argc, argv};
    const int result = RUN_ALL_TESTS();
    if (unconnected_slots > 0) {
        QTextStream{stderr} << "connect-by-name failed " << unconnected_slots.load() << " times\n";
        return 1;
    }
    return result;
}
