#include "core/TDDeviceInformation.h"

#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

TEST(TDDeviceInformationTest, WhatIsMissingHasItsFallback)
{
    {
        Phone phone { { .device = { .advertisingTrackingEnabled = true, .carrierName = "Tide Mobile" } } };
        EXPECT_EQ(TDDeviceInformation::getCarrierName(), "Tide Mobile");
        EXPECT_TRUE(TDDeviceInformation::isAdTrackingEnabled());
    }
    Phone phone { { .device = {} } };
    EXPECT_EQ(TDDeviceInformation::getUUID().size(), 36u) << "one of the home folder's own";
    EXPECT_EQ(TDDeviceInformation::getCarrierName(), "No Carrier");
    EXPECT_EQ(TDDeviceInformation::getIDFA(), "");
    EXPECT_FALSE(TDDeviceInformation::isAdTrackingEnabled());
    ProcessConfiguration bare = phone.process().configuration();
    bare.mainBundleInfo = { { "CFBundleVersion", 45 } };
    bare.libraryBundle = "/nonexistent";
    Process process(std::move(bare));
    Process::Scope scope(process);
    EXPECT_EQ(TDDeviceInformation::getAppVersion(), "45") << "a number in the information";
    EXPECT_EQ(TDDeviceInformation::getBuildNumber(), "");
    EXPECT_EQ(TDDeviceInformation::getLMVersion(), ":");
    EXPECT_EQ(TDDeviceInformation::getLMVersionWithoutBuild(), "");
}

} // namespace
} // namespace lumora
