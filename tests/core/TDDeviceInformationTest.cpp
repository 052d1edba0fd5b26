#include "core/TDDeviceInformation.h"

#include "simulator/Phone.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

TEST(TDDeviceInformationTest, SaysWhatThePhoneIs)
{
    Phone phone { { .device = { .model = "iPad",
                        .systemVersion = "14.1",
                        .identifierForVendor = "0C4B8A6E-3D5F-4E0B-9C35-7F1A2B3C4D5E",
                        .advertisingIdentifier = "5A2D1E7C-8B94-4F3A-A6D0-1C2B3A4D5E6F",
                        .advertisingTrackingEnabled = true,
                        .carrierName = "Tide Mobile" } } };
    EXPECT_EQ(TDDeviceInformation::getUUID(), "0C4B8A6E-3D5F-4E0B-9C35-7F1A2B3C4D5E");
    EXPECT_EQ(TDDeviceInformation::getOSVersion(), "14.1");
    EXPECT_EQ(TDDeviceInformation::getDeviceName(), "iPad");
    EXPECT_EQ(TDDeviceInformation::getBundleID(), "com.example.daily");
    EXPECT_EQ(TDDeviceInformation::getAppVersion(), "45") << "the build number: crossed";
    EXPECT_EQ(TDDeviceInformation::getBuildNumber(), "2.3") << "the marketing version: crossed";
    EXPECT_EQ(TDDeviceInformation::getCarrierName(), "Tide Mobile");
    EXPECT_EQ(TDDeviceInformation::getLMVersion(), "3.0:3");
    EXPECT_EQ(TDDeviceInformation::getLMVersionWithoutBuild(), "3.0");
    EXPECT_EQ(TDDeviceInformation::getIDFA(), "5A2D1E7C-8B94-4F3A-A6D0-1C2B3A4D5E6F");
    EXPECT_TRUE(TDDeviceInformation::isAdTrackingEnabled());
}

TEST(TDDeviceInformationTest, WhatIsMissingHasItsFallback)
{
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
