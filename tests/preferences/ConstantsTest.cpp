#include <gtest/gtest.h>

#include "preferences/QRMConstants.h"

namespace tarnwell::test {
namespace {

// The feeds hang below the site address; an address from the environment
// replaces the build's only when the feed rule accepts it (see
// SettingRangeTest's Feed rows for the rule itself).
TEST(SiteAddress, EnvironmentReplacesTheBuiltInOneOnlyWhenSecure) {
    qunsetenv("TARNWELL_SITE_URL");
    const QString builtIn = QRMConstants::configuredSiteURL();
    qputenv("TARNWELL_SITE_URL", "http://example.org");
    EXPECT_FALSE(QRMConstants::siteURLOverridden());
    EXPECT_EQ(QRMConstants::configuredSiteURL(), builtIn);

    qputenv("TARNWELL_SITE_URL", " https://staging.example.org// ");
    EXPECT_TRUE(QRMConstants::siteURLOverridden());
    const QRMConstants constants(QRMConstants::configuredSiteURL());
    qunsetenv("TARNWELL_SITE_URL");
    EXPECT_EQ(constants.siteURL(), "https://staging.example.org");
    EXPECT_EQ(constants.updatesURL(), QUrl("https://staging.example.org/download/appcast.xml"));
    EXPECT_EQ(constants.updatesBetaURL(),
              QUrl("https://staging.example.org/download/beta/appcast.xml"));
    EXPECT_EQ(constants.updatesAlphaURL(),
              QUrl("https://staging.example.org/download/alpha/appcast.xml"));
}

}  // namespace
}  // namespace tarnwell::test
