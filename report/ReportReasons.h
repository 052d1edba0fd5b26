#pragma once

#include "report/LMReportAdViewRoundedButton.h"

namespace lumora {

/// Makes a screen's three buttons say what the service knows: "offensive", "repetitive", "fraud".
inline void assignReasons(const std::shared_ptr<Object>& screen,
    const std::shared_ptr<LMReportAdViewRoundedButton>& offensive,
    const std::shared_ptr<LMReportAdViewRoundedButton>& repetitive,
    const std::shared_ptr<LMReportAdViewRoundedButton>& fraud)
{
    auto assign = [&](const std::shared_ptr<LMReportAdViewRoundedButton>& button, const char* reason) {
        if (!button)
            return;
        button->setDelegate(screen);
        button->setUserDescription(reason);
    };
    assign(offensive, "offensive");
    assign(repetitive, "repetitive");
    assign(fraud, "fraud");
}

} // namespace lumora
