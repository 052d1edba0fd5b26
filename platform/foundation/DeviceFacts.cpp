#include "platform/foundation/DeviceFacts.h"

#include "platform/process/Process.h"
#include "platform/uikit/UIDevice.h"

namespace lumora {

static const DeviceFacts& facts() { return Process::current().configuration().device; }

std::optional<std::string> ASIdentifierManager::advertisingIdentifier()
{
    return facts().advertisingIdentifier;
}
bool ASIdentifierManager::isAdvertisingTrackingEnabled() { return facts().advertisingTrackingEnabled; }
std::optional<std::string> CTTelephonyNetworkInfo::carrierName() { return facts().carrierName; }

UIDevice UIDevice::currentDevice() { return UIDevice(Process::current()); }
const std::string& UIDevice::systemVersion() const { return m_process->configuration().device.systemVersion; }
const std::string& UIDevice::model() const { return m_process->configuration().device.model; }
const std::string& UIDevice::identifierForVendor() const
{
    return m_process->configuration().device.identifierForVendor;
}

} // namespace lumora
