#pragma once

#include "platform/foundation/DeviceFacts.h"

namespace lumora {

/// The device of the process it was asked in, as configured. Does not outlive that process. Any thread.
class UIDevice {
public:
    static UIDevice currentDevice();

    const std::string& systemVersion() const;
    /// The generic name of the model, not the one its owner gave it.
    const std::string& model() const;
    /// A UUID that stays the same for this application on this device.
    const std::string& identifierForVendor() const;

private:
    explicit UIDevice(const class Process& process)
        : m_process(&process)
    {
    }
    const Process* m_process;
};

} // namespace lumora
