#include "other_window.h"

#include <QProcessEnvironment>

#include <optional>

namespace {

constexpr int patience_ms = 20000;

/// What a program answers; nothing when it fails.
std::optional<QByteArray> answer_of(const char* program, const QStringList& arguments) {
    QProcess process;
    process.start(QLatin1String(program), arguments);
    if (!process.waitForFinished(patience_ms) || process.exitCode() != 0) {
        process.kill();
        process.waitForFinished();
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}

} // namespace

OtherWindow::~OtherWindow() {
    if (process_.state() != QProcess::NotRunning) {
        process_.kill();
        process_.waitForFinished();
    }
}

bool OtherWindow::start(const QString& program, const QStringList& arguments, const QString& title,
                        const QString& folder) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SDL_AUDIODRIVER"), QStringLiteral("dummy"));
    process_.setProcessEnvironment(environment);
    process_.setWorkingDirectory(folder);
    process_.setProcessChannelMode(QProcess::ForwardedChannels);
    process_.start(program, arguments);
    if (!process_.waitForStarted(patience_ms)) {
        return false;
    }
    const auto found = answer_of("xdotool", {QStringLiteral("search"), QStringLiteral("--sync"),
                                             QStringLiteral("--onlyvisible"), QStringLiteral("--all"),
                                             QStringLiteral("--pid"), QString::number(process_.processId()),
                                             QStringLiteral("--name"), title});
    id_ = QString::fromLatin1(found.value_or(QByteArray{})).trimmed().section(QLatin1Char('\n'), -1);
    return !id_.isEmpty();
}

bool OtherWindow::click(QPoint place) {
    return answer_of("xdotool", {QStringLiteral("mousemove"), QStringLiteral("--sync"),
                                 QStringLiteral("--window"), id_, QString::number(place.x()),
                                 QString::number(place.y()), QStringLiteral("click"), QStringLiteral("1")})
        .has_value();
}

QImage OtherWindow::contents() const {
    const auto picture = answer_of(
        "import", {QStringLiteral("-silent"), QStringLiteral("-window"), id_, QStringLiteral("ppm:-")});
    return QImage::fromData(picture.value_or(QByteArray{}), "PPM");
}
