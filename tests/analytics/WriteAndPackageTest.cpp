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

QByteArray readAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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
    EXPECT_EQ(readAll(path("A.log")),
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
    const EVTEvent event = EVTEvent::custom("packaged", {{"k", "v"}});
    ASSERT_TRUE(EVTWriteEventOperation(path("D.log"), event, metadata).run());
    const QByteArray written = readAll(path("D.log"));

    const std::optional<QString> compressed = EVTFilePackager::compress(path("D.log"));
    ASSERT_EQ(compressed, path("D.gz"));
    EXPECT_FALSE(QFile::exists(path("D.log")));
    EXPECT_EQ(test::gunzip(readAll(*compressed)), written);

    const std::optional<QString> packaged = EVTFilePackager::package(*compressed, "Boundary-X");
    ASSERT_EQ(packaged, path("Boundary-X.multipartmime"));
    EXPECT_FALSE(QFile::exists(*compressed));
    EXPECT_EQ(EVTFilePackager::contentTypeForPackagedFile(*packaged),
              "multipart/form-data; boundary=Boundary-X");
    const test::UnpackedUpload upload = test::unpack(readAll(*packaged), "Boundary-X");
    EXPECT_TRUE(upload.partHeaders.contains("filename=\"D.gz\""));
    EXPECT_EQ(upload.lines.join(), written);
}

TEST_F(EventFile, PackagingAMissingFileIsReported) {
    test::MessageCapture messages;
    EXPECT_FALSE(EVTFilePackager::package(path("E.gz"), "Boundary-Y"));
    EXPECT_EQ(messages.count("Error: attempting to package nonexistent file: " + path("E.gz")), 1);
    EXPECT_FALSE(EVTFilePackager::compress(path("E.log")));
}

TEST(Gzip, EmptyAndLargeInputsRoundTrip) {
    QByteArray large;
    for (int i = 0; i < 20000; ++i) {
        large += QByteArray::number(i * 7919) + '\t';
    }
    for (const QByteArray &input : {QByteArray(), large}) {
        const std::optional<QByteArray> compressed = EVTFilePackager::gzip(input);
        ASSERT_TRUE(compressed);
        EXPECT_TRUE(compressed->startsWith("\x1f\x8b"));
        EXPECT_EQ(test::gunzip(*compressed), input);
    }
}

}  // namespace
}  // namespace tarnwell
