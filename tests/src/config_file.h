/*
 * A configuration file in a directory of its own, for one test.
 */
#ifndef TESTS_SRC_CONFIG_FILE_H
#define TESTS_SRC_CONFIG_FILE_H

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <sys/types.h>

class ConfigFile : public testing::Test {
protected:
    ConfigFile();

    QString path(const QString& name) const { return m_directory.filePath(name); }
    void put(const QByteArray& text) const;
    QByteArray text() const;
    /** The file's top-level object; empty when it is no JSON object. */
    QJsonObject object() const;
    bool exists() const;

    QTemporaryDir m_directory;
    QString m_file; /* named as the player names it */
};

/** Runs `body` in a child process, which ends with its result. */
pid_t start_child(const std::function<int()>& body);

/** Waits for a child: its exit status, or 128 + the number of the signal that killed it. */
int wait_for_child(pid_t child);

/**
 * Runs `body` in a child process that has no superuser rights, so that file permissions hold, and returns its
 * result.
 */
int run_unprivileged(const std::function<int()>& body);

#endif
