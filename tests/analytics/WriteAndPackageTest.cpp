#include <gtest/gtest.h>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "EventFiles.h"
#include "MessageCapture.h"
#include "analytics/EVTConfiguration.h"
#include "analytics/EVTEvent.h"
#include "analytics/EVTFilePackager.h"
#include "analytics/EVTMetadata.h"
#include "analytics/EVTWriteEventOperation.h"

namespace tarnwell {
namespace {

class EventFile : public testing::Test {
protected:
    QString path(const QString &name) const { return QDir(dir.path()).filePath(name); }

    QTemporaryDir dir;
    EVTMetadata metadata = EVTMetadata::current(EVTConfiguration{});
};

TEST_F(EventFile, OnlyANewFileStartsWithTheMetadataLine) {
    const EVTEvent first = EVTEvent::custom("first", {});
    const EVTEvent second = EVTEvent::custom("second", {});
    ASSERT_TRUE(EVTWriteEventOperation(path("A.log"), first, metadata).run());
    ASSERT_TRUE(EVTWriteEventOperation(path("A.log"), second, metadata).run());
    EXPECT_EQ(test::readAll(path("A.log")),
              metadata.line(first.timestamp()) + first.line() + second.line());
    EXPECT_EQ(QFile(path("A.log")).permissions() & 0x7777, QFile::ReadOwner | QFile::WriteOwner |
                                                               QFile::ReadUser | QFile::WriteUser |
                                                               QFile::ReadGroup | QFile::ReadOther);
}

TEST_F(EventFile, AnUnwritablePathIsAFailureNotACrash) {
    ASSERT_TRUE(QDir().mkpath(path("B.log")));
    EXPECT_FALSE(EVTWriteEventOperation(path("B.log"), EVTEvent(), metadata).run());
    EXPECT_FALSE(EVTWriteEventOperation(path("missing/C.log"), EVTEvent(), metadata).run());
}

TEST_F(EventFile, CompressedAndPackagedFileGivesBackTheSameLines) {
    // Names as the kit makes them: it takes no other files.
    const QString kLog = "5F0E1D2C-3B4A-4958-8776-A5B4C3D2E1F0.log";
    const QString kCompressed = "5F0E1D2C-3B4A-4958-8776-A5B4C3D2E1F0.gz";
    const QString kBoundary = "Boundary-00112233445566778899aabbccddeeff";
    const EVTEvent event = EVTEvent::custom("packaged", {{"k", "v"}});
    ASSERT_TRUE(EVTWriteEventOperation(path(kLog), event, metadata).run());
    const QByteArray written = test::readAll(path(kLog));

    const std::optional<QString> compressed = EVTFilePackager::compress(path(kLog));
    ASSERT_EQ(compressed, path(kCompressed));
    EXPECT_FALSE(QFile::exists(path(kLog)));
    // A gzip stream (the reader here also takes a bare zlib one).
    EXPECT_TRUE(test::readAll(*compressed).startsWith("\x1f\x8b"));
    EXPECT_EQ(test::gunzip(test::readAll(*compressed)), written);

    const std::optional<QString> packaged = EVTFilePackager::package(*compressed, kBoundary);
    ASSERT_EQ(packaged, path(kBoundary + ".multipartmime"));
    EXPECT_FALSE(QFile::exists(*compressed));
    EXPECT_EQ(EVTFilePackager::contentTypeForPackagedFile(*packaged),
              "multipart/form-data; boundary=" + kBoundary.toLatin1());
    const test::UnpackedUpload upload =
        test::unpack(test::readAll(*packaged), kBoundary.toLatin1());
    EXPECT_TRUE(upload.partHeaders.contains("filename=\"" + kCompressed.toLatin1() + "\""));
    EXPECT_EQ(upload.lines.join(), written);
}

TEST_F(EventFile, PackagingAMissingFileIsReported) {
    test::MessageCapture messages;
    EXPECT_FALSE(EVTFilePackager::package(path("E.gz"), "Boundary-Y"));
    EXPECT_EQ(messages.count("Error: attempting to package nonexistent file: " + path("E.gz")), 1);
    EXPECT_FALSE(EVTFilePackager::compress(path("E.log")));
}

}  // namespace
}  // namespace tarnwell
