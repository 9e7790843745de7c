#include "src/config_file.h"

#include <QFile>
#include <QJsonDocument>
#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

ConfigFile::ConfigFile() : m_file(m_directory.filePath(QStringLiteral("\nzandor_player.cfg"))) {}

void ConfigFile::put(const QByteArray& text) const {
    QFile file(m_file);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(text), text.size());
}

QByteArray ConfigFile::text() const {
    QFile file(m_file);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject ConfigFile::object() const {
    return QJsonDocument::fromJson(text()).object();
}

bool ConfigFile::exists() const {
    return QFile::exists(m_file);
}

pid_t start_child(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // none outlives a test that fails
        _exit(body());
    }
    return child;
}

int wait_for_child(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    constexpr int killed = 128;
    return WIFSIGNALED(status) ? killed + WTERMSIG(status) : WEXITSTATUS(status);
}

int run_unprivileged(const std::function<int()>& body) {
    return wait_for_child(start_child([&] {
        constexpr uid_t nobody = 65534;
        constexpr int failed = 99;
        if (geteuid() == 0 &&
            (setresgid(nobody, nobody, nobody) != 0 || setresuid(nobody, nobody, nobody) != 0)) {
            return failed;
        }
        return body();
    }));
}
