#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QUrl>

#include "updates/Appcast.h"
#include "updates/UpdateSignature.h"
#include "updates/VersionComparator.h"

namespace tarnwell::test {
namespace {

TEST(VersionOrder, EachVersionSortsAfterEveryOneBeforeItAndEqualOnesAreEqual) {
    // Pre-releases, releases, then build numbers.
    const QStringList ascending =
        QStringLiteral(
            "1.0a2 1.0b1 1.0b2 1.0b5 1.0b10 1.0 1.0.1 1.1 1.9 1.10 99 100 2024.9 2024.10 "
            "18446744073709551615 18446744073709551616")
            .split(u' ');
    for (qsizetype newer = 1; newer < ascending.size(); ++newer) {
        for (qsizetype older = 0; older < newer; ++older) {
            const QString &a = ascending[older];
            const QString &b = ascending[newer];
            EXPECT_LT(compareVersions(a, b), 0) << a.toStdString() << " < " << b.toStdString();
            EXPECT_GT(compareVersions(b, a), 0) << b.toStdString() << " > " << a.toStdString();
        }
    }
    // Trailing zeros, leading zeros and separators do not count.
    for (const auto &[a, b] : {std::pair{"1.0", "1.0.0"}, std::pair{"1.01", "1.1"},
                               std::pair{"1.2-3", "1.2.3"}, std::pair{"", "0"}}) {
        EXPECT_EQ(compareVersions(QString::fromUtf8(a), QString::fromUtf8(b)), 0) << a << " " << b;
    }
}

const QUrl kFeedURL("https://updates.test/download/appcast.xml");

QByteArray rss(const QByteArray &items) {
    return R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><title>Tarnwell</title>)" +
           items + "</channel></rss>";
}

QByteArray item(const QByteArray &version, const QByteArray &extra = {}) {
    return "<item><title>Tarnwell " + version + "</title><sparkle:version>" + version +
           "</sparkle:version>" + extra + "<enclosure url=\"tarnwell-" + version +
           ".deb\" length=\"1234\" type=\"application/vnd.debian.binary-package\" "
           "sparkle:edSignature=\"AAAA\"/></item>";
}

TEST(Appcast, NewestItemForThisSystemWinsByVersionNotByPosition) {
    const auto needs = [](const char *system) {
        return "<sparkle:minimumSystemVersion>" + QByteArray(system) +
               "</sparkle:minimumSystemVersion>";
    };
    const auto parsed = parseAppcast(rss(item("1.9") + item("1.10", needs("12")) + item("1.2") +
                                         item("1.10b3") + item("5", needs("13"))),
                                     kFeedURL);
    const auto &items = std::get<QList<AppcastItem>>(parsed);
    ASSERT_EQ(items.size(), 5);
    EXPECT_EQ(newestItem(items, "12")->version, "1.10");
    EXPECT_EQ(newestItem(items, "13")->version, "5");
    EXPECT_FALSE(newestItem({}, "12"));
    // Addresses are relative to the feed's.
    EXPECT_EQ(items[1].url, QUrl("https://updates.test/download/tarnwell-1.10.deb"));
}

TEST(Appcast, ReadsEveryFieldIncludingVersionsOnTheEnclosure) {
    const QByteArray feed = rss(R"(<item><title>Tarnwell 2.0</title>
        <sparkle:releaseNotesLink>notes/2.0.html</sparkle:releaseNotesLink>
        <description><![CDATA[<b>Faster</b>]]></description>
        <enclosure url="https://cdn.test/t.deb" length="77" type="application/x-deb"
            sparkle:version="200" sparkle:shortVersionString="2.0" sparkle:edSignature="AQID"/>
        </item>)");
    const auto parsed = parseAppcast(feed, kFeedURL);
    const auto &items = std::get<QList<AppcastItem>>(parsed);
    ASSERT_EQ(items.size(), 1);
    const AppcastItem &entry = items.first();
    EXPECT_EQ(entry.version, "200");
    EXPECT_EQ(entry.versionForDisplay(), "2.0");
    EXPECT_EQ(entry.releaseNotesLink, QUrl("https://updates.test/download/notes/2.0.html"));
    EXPECT_EQ(entry.itemDescription, "<b>Faster</b>");
    EXPECT_EQ(entry.url, QUrl("https://cdn.test/t.deb"));
    EXPECT_EQ(entry.length, 77);
    EXPECT_EQ(entry.type, "application/x-deb");
    EXPECT_EQ(entry.edSignature, QByteArray("\1\2\3"));
}

QByteArray enclosure(const QByteArray &attributes) {
    return "<item><sparkle:version>9</sparkle:version><enclosure " + attributes + "/></item>";
}

TEST(Appcast, AnUnusableItemIsDroppedAndTheRestOfTheFeedKept) {
    const QByteArray unusable[] = {
        "<item><sparkle:version>9</sparkle:version></item>",
        "<item><enclosure url=\"a.deb\" length=\"5\" sparkle:edSignature=\"AA==\"/></item>",
        enclosure("length=\"5\" sparkle:edSignature=\"AA==\""),
        enclosure("url=\"a.deb\" length=\"0\" sparkle:edSignature=\"AA==\""),
        enclosure("url=\"a.deb\" length=\"-5\" sparkle:edSignature=\"AA==\""),
        enclosure("url=\"a.deb\" length=\"5x\" sparkle:edSignature=\"AA==\""),
        enclosure("url=\"a.deb\" length=\"5\""),
        enclosure("url=\"a.deb\" length=\"5\" sparkle:edSignature=\"**\""),
    };
    for (const QByteArray &xml : unusable) {
        const auto parsed = parseAppcast(rss(xml + item("1.0")), kFeedURL);
        ASSERT_TRUE(std::holds_alternative<QList<AppcastItem>>(parsed)) << xml.data();
        const auto &items = std::get<QList<AppcastItem>>(parsed);
        ASSERT_EQ(items.size(), 1) << xml.data();
        EXPECT_EQ(items[0].version, "1.0");
    }
}

TEST(Appcast, MalformedFeedsAreErrorsAndAnEmptyOneIsNoUpdate) {
    for (const QByteArray &feed :
         {QByteArray("<rss><channel><item>"), QByteArray("<html><body/></html>"),
          QByteArray("{\"json\": true}"), QByteArray(), QByteArray("<rss version=\"2.0\"/>")}) {
        EXPECT_TRUE(std::holds_alternative<AppcastError>(parseAppcast(feed, kFeedURL)))
            << feed.data();
    }
    const auto empty = parseAppcast(rss(""), kFeedURL);
    ASSERT_TRUE(std::holds_alternative<QList<AppcastItem>>(empty));
    EXPECT_TRUE(std::get<QList<AppcastItem>>(empty).isEmpty());
}

std::span<const unsigned char> bytesOf(const QByteArray &data) {
    return {reinterpret_cast<const unsigned char *>(data.constData()), size_t(data.size())};
}

// RFC 8032, section 7.1: TEST 1, the empty message, and TEST 2, one byte.
TEST(Ed25519, PublishedVectorsVerifyAndAnyChangeFails) {
    const QByteArray key1 =
        QByteArray::fromHex("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a");
    const QByteArray signature1 = QByteArray::fromHex(
        "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e06522490155"
        "5fb8821590a33bacc61e39701cf9b46bd25bf5f0595bbe24655141438e7a100b");
    const QByteArray key2 =
        QByteArray::fromHex("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c");
    const QByteArray signature2 = QByteArray::fromHex(
        "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
        "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00");
    const QByteArray message2("\x72");
    EXPECT_TRUE(verifyEd25519(key1, signature1, {}));
    EXPECT_TRUE(verifyEd25519(key2, signature2, bytesOf(message2)));

    QByteArray changedSignature = signature2;
    changedSignature[10] = char(changedSignature[10] ^ 1);
    EXPECT_FALSE(verifyEd25519(key1, signature1, bytesOf("x")));
    EXPECT_FALSE(verifyEd25519(key2, signature2, bytesOf("\x73")));
    EXPECT_FALSE(verifyEd25519(key2, changedSignature, bytesOf(message2)));
    EXPECT_FALSE(verifyEd25519(key1, signature2, bytesOf(message2)));
    EXPECT_FALSE(verifyEd25519(key2, signature2.left(63), bytesOf(message2)));
    EXPECT_FALSE(verifyEd25519(key2.left(31), signature2, bytesOf(message2)));
    EXPECT_FALSE(verifyEd25519(QByteArray(), QByteArray(), bytesOf(message2)));
    EXPECT_EQ(builtInUpdatePublicKey().size(), 32) << "the program's own key";
}

}  // namespace
}  // namespace tarnwell::test
