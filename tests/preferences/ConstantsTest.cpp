#include <gtest/gtest.h>

#include "preferences/QRMConstants.h"

namespace tarnwell::test {
namespace {

struct SiteOverride {
    const char *name;
    const char *environment;
    const char *siteURL;  // nullptr: the build's stays
};

class ConstantsTest : public ::testing::TestWithParam<SiteOverride> {
protected:
    void TearDown() override { qunsetenv("TARNWELL_SITE_URL"); }
};

// Only an https site (http to this machine, for local test servers) may replace the
// build's: a plain-http feed could be swapped by anyone on the way.
TEST_P(ConstantsTest, EnvironmentSiteReplacesTheBuiltInOneOnlyWhenSecure) {
    qunsetenv("TARNWELL_SITE_URL");
    const QString builtIn = QRMConstants::configuredSiteURL();
    qputenv("TARNWELL_SITE_URL", GetParam().environment);
    const QRMConstants constants(QRMConstants::configuredSiteURL());
    if (GetParam().siteURL == nullptr) {
        EXPECT_EQ(constants.siteURL(), builtIn);
        EXPECT_FALSE(QRMConstants::siteURLOverridden());
        return;
    }
    EXPECT_TRUE(QRMConstants::siteURLOverridden());
    EXPECT_EQ(constants.siteURL(), GetParam().siteURL);
    EXPECT_EQ(constants.updatesBetaURL(),
              QUrl(QString(GetParam().siteURL) + "/download/beta/appcast.xml"));
}

INSTANTIATE_TEST_SUITE_P(
    Overrides, ConstantsTest,
    ::testing::Values(
        SiteOverride{"LoopbackHttp", "http://127.0.0.1:8931//", "http://127.0.0.1:8931"},
        SiteOverride{"LocalhostHttp", "http://localhost:8080", "http://localhost:8080"},
        SiteOverride{"Https", " https://staging.example.org ", "https://staging.example.org"},
        SiteOverride{"RemoteHttp", "http://example.org", nullptr},
        SiteOverride{"LookalikeHost", "http://127.example.org", nullptr},
        SiteOverride{"OtherScheme", "ftp://example.org", nullptr},
        SiteOverride{"LocalFile", "file:///tmp/site", nullptr},
        SiteOverride{"NoScheme", "example.org", nullptr}, SiteOverride{"Empty", "", nullptr}),
    [](const auto &info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tarnwell::test
