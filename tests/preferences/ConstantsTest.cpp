#include <gtest/gtest.h>

#include "preferences/QRMConstants.h"

namespace tarnwell::test {
namespace {

TEST(ConstantsTest, FeedsHangBelowTheSiteWithoutItsTrailingSlashes) {
    const QRMConstants constants("https://tarnwell.test//");
    EXPECT_EQ(constants.siteURL(), "https://tarnwell.test");
    EXPECT_EQ(constants.updatesURL(), QUrl("https://tarnwell.test/download/appcast.xml"));
    EXPECT_EQ(constants.updatesBetaURL(), QUrl("https://tarnwell.test/download/beta/appcast.xml"));
    EXPECT_EQ(constants.updatesAlphaURL(),
              QUrl("https://tarnwell.test/download/alpha/appcast.xml"));
}

TEST(ConstantsTest, EnvironmentOverridesTheBuiltInSite) {
    qunsetenv("TARNWELL_SITE_URL");
    const QString builtIn = QRMConstants::configuredSiteURL();
    qputenv("TARNWELL_SITE_URL", "http://127.0.0.1:8931");
    EXPECT_EQ(QRMConstants::configuredSiteURL(), "http://127.0.0.1:8931");
    qputenv("TARNWELL_SITE_URL", "");
    EXPECT_EQ(QRMConstants::configuredSiteURL(), builtIn);
    qunsetenv("TARNWELL_SITE_URL");
}

}  // namespace
}  // namespace tarnwell::test
