/*
 * Places where a file can hardly be read or written.
 */
#include "jsncfg.h"

#include "src/config_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr int passed = 0;
constexpr int not_possible_here = 77;

class JsnCfgPlace : public ConfigFile {
protected:
    JsnCfgPlace() { chmod(directory(), 0777); }
    void TearDown() override { chmod(directory(), 0777); }

    const char* directory() const { return m_directory_name.constData(); }
    const char* file() const { return m_file_name.constData(); }

    QByteArray m_directory_name = QFile::encodeName(m_directory.path());
    QByteArray m_file_name = QFile::encodeName(m_file);
};

TEST_F(JsnCfgPlace, AnUnreadableFileLeavesTheDefaults) {
    put(R"({"volume": {"Volume_val": 5}})");
    chmod(file(), 0);
    EXPECT_EQ(run_unprivileged([this] {
                  Config config(m_file);
                  return config.load_cfg() == -1 && config.p_volume->volume_val == 30 ? passed : 1;
              }),
              passed);
}

TEST_F(JsnCfgPlace, AnUnwritableFileIsReportedAndTheValuesWait) {
    put("{}");
    chmod(file(), 0444);
    EXPECT_EQ(run_unprivileged([this] {
                  Config config(m_file);
                  config.p_volume->volume_val = 5;
                  config.p_volume->write();
                  return config.save_cfg() == -1 &&
                                 config.json_doc.object().contains(QStringLiteral("volume"))
                             ? passed
                             : 1;
              }),
              passed);
    EXPECT_EQ(text(), "{}");
}

TEST_F(JsnCfgPlace, AFileInAReadOnlyDirectoryIsWrittenInPlace) {
    put(R"({"padding": "so that the new content is the shorter one .........................."})");
    chmod(file(), 0666);
    chmod(directory(), 0555);
    EXPECT_EQ(run_unprivileged([this] {
                  Config config(m_file);
                  config.p_board_ip->write();
                  return config.save_cfg() == 0 ? passed : 1;
              }),
              passed);
    EXPECT_EQ(object().keys(), QStringList{QStringLiteral("board_ip")});
}

TEST_F(JsnCfgPlace, AReadOnlyDirectoryTakesNoNewFile) {
    chmod(directory(), 0555);
    EXPECT_EQ(run_unprivileged([this] {
                  Config config(m_file);
                  config.p_board_ip->write();
                  return config.save_cfg() == -1 ? passed : 1;
              }),
              passed);
    EXPECT_FALSE(exists());
}

TEST_F(JsnCfgPlace, AMissingDirectoryTakesNoFile) {
    Config config(path(QStringLiteral("missing/file")));
    EXPECT_EQ(config.load_cfg(), -1);
    EXPECT_EQ(config.save_cfg(), -1);
}

TEST_F(JsnCfgPlace, ADirectoryInItsPlaceStays) {
    ASSERT_TRUE(QDir().mkdir(m_file));
    Config config(m_file);
    EXPECT_EQ(config.load_cfg(), -1);
    config.p_board_ip->write();
    EXPECT_EQ(config.save_cfg(), -1);
    EXPECT_TRUE(QFileInfo(m_file).isDir());
}

TEST_F(JsnCfgPlace, ALoopOfSymbolicLinksStays) {
    const QByteArray other = QFile::encodeName(path(QStringLiteral("other")));
    ASSERT_EQ(symlink(other.constData(), file()), 0);
    ASSERT_EQ(symlink(file(), other.constData()), 0);
    Config config(m_file);
    EXPECT_EQ(config.load_cfg(), -1);
    config.p_board_ip->write();
    EXPECT_EQ(config.save_cfg(), -1);
    EXPECT_TRUE(QFileInfo(m_file).isSymLink());
    EXPECT_TRUE(QFileInfo(path(QStringLiteral("other"))).isSymLink());
}

TEST_F(JsnCfgPlace, ASymbolicLinkStaysAndItsTargetIsWritten) {
    const QByteArray target = QFile::encodeName(path(QStringLiteral("target")));
    ASSERT_EQ(symlink(target.constData(), file()), 0);
    Config config(m_file);
    EXPECT_EQ(config.load_cfg(), -1);
    config.p_board_ip->write();
    EXPECT_TRUE(QFileInfo(m_file).isSymLink());
    EXPECT_TRUE(QFileInfo(path(QStringLiteral("target"))).isFile());
    EXPECT_EQ(object().size(), 1);
}

TEST_F(JsnCfgPlace, TheFilesPermissionsStay) {
    put("{}");
    chmod(file(), 0640);
    Config config(m_file);
    config.p_board_ip->write();
    struct stat status {};
    ASSERT_EQ(stat(file(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

/** Mounts a small disk on `directory`, seen by this process alone. */
bool mount_small_disk(const char* directory) {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", directory, "tmpfs", 0, "size=64k,mode=0777") == 0;
}

/** Fills the disk except for `left` bytes. */
void fill_disk(const QString& file_name, qint64 left) {
    QFile file(file_name);
    if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        struct statvfs disk {};
        fstatvfs(file.handle(), &disk);
        file.write(
            QByteArray(static_cast<int>(static_cast<qint64>(disk.f_bavail * disk.f_bsize) - left), 'x'));
    }
}

class JsnCfgFullDisk : public JsnCfgPlace, public testing::WithParamInterface<qint64> {};

TEST_P(JsnCfgFullDisk, KeepsTheOldFileAndTheValuesWait) {
    const int result = wait_for_child(start_child([this] {
        if (!mount_small_disk(directory())) {
            return not_possible_here;
        }
        Config config(m_file);
        config.p_volume->write();
        const QByteArray old_text = text();
        const QString filler = path(QStringLiteral("filler"));
        fill_disk(filler, GetParam());
        config.p_board_ip->ip = QString(20'000, QLatin1Char('1'));
        config.p_board_ip->write();
        const bool kept = config.save_cfg() == -1 && text() == old_text;
        const QDir disk(m_directory.path());
        const bool tidy = disk.entryList(QDir::Files | QDir::Hidden).size() == 2;
        QFile::remove(filler);
        const bool saved_later = config.save_cfg() == 0 && object().contains(QStringLiteral("board_ip"));
        return !kept ? 1 : !tidy ? 2 : !saved_later ? 3 : passed;
    }));
    if (result == not_possible_here) {
        GTEST_SKIP() << "no disk can be mounted here";
    }
    EXPECT_EQ(result, passed) << "1: old file lost, 2: left-overs, 3: not saved when there was room again";
}

INSTANTIATE_TEST_SUITE_P(BytesLeft, JsnCfgFullDisk, testing::Values(0, 4096, 16384));

} // namespace
