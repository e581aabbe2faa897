#pragma once

#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <memory>
#include <optional>

#include "preferences/QRMPreferencesManager.h"

namespace tarnwell::test {

inline const QUrl kStableFeed{"https://site.test/download/appcast.xml"};
inline constexpr uint64_t kGiB = uint64_t(1) << 30;

// A store over a settings file of its own in a temporary folder.
class PreferencesTest : public ::testing::Test {
protected:
    QString settingsPath() const { return dir_.filePath("Tarnwell.conf"); }

    std::unique_ptr<QRMPreferencesManager> makeStore(const QString &path) {
        return std::make_unique<QRMPreferencesManager>(
            std::make_unique<QSettings>(path, QSettings::IniFormat),
            [this] { return installedMemory_; }, kStableFeed);
    }
    QRMPreferencesManager &store() {
        if (!store_) {
            store_ = makeStore(settingsPath());
        }
        return *store_;
    }

    // The file as a new process would read it. QSettings shares parsed files
    // within a process, so the text is copied to a new name first.
    std::unique_ptr<QSettings> reread() {
        const QString copy = dir_.filePath(QStringLiteral("reread-%1.conf").arg(++rereads_));
        QFile::copy(settingsPath(), copy);
        return std::make_unique<QSettings>(copy, QSettings::IniFormat);
    }
    // A store that starts again from the file, as after a restart.
    std::unique_ptr<QRMPreferencesManager> restartedStore() {
        const QString copy = dir_.filePath(QStringLiteral("restart-%1.conf").arg(++rereads_));
        QFile::copy(settingsPath(), copy);
        return makeStore(copy);
    }

    void writeFile(const QByteArray &text) {
        QFile file(settingsPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir dir_;
    std::optional<uint64_t> installedMemory_ = 8 * kGiB;
    std::unique_ptr<QRMPreferencesManager> store_;
    int rereads_ = 0;
};

}  // namespace tarnwell::test
