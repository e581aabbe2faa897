#include <gtest/gtest.h>

#include "preferences/QRMConstants.h"

namespace tarnwell::test {
namespace {

TEST(ConstantsTest, EnvironmentSiteReplacesTheBuiltInOneForTheFeeds) {
    qunsetenv("TARNWELL_SITE_URL");
    const QString builtIn = QRMConstants::configuredSiteURL();
    qputenv("TARNWELL_SITE_URL", "http://127.0.0.1:8931//");
    const QRMConstants constants(QRMConstants::configuredSiteURL());
    EXPECT_EQ(constants.siteURL(), "http://127.0.0.1:8931");
    EXPECT_EQ(constants.updatesBetaURL(), QUrl("http://127.0.0.1:8931/download/beta/appcast.xml"));
    qputenv("TARNWELL_SITE_URL", "");
    EXPECT_EQ(QRMConstants::configuredSiteURL(), builtIn);
    qunsetenv("TARNWELL_SITE_URL");
}

}  // namespace
}  // namespace tarnwell::test
