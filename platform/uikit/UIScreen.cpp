#include "platform/uikit/UIScreen.h"

#include "platform/process/ProcessLocal.h"

namespace lumora {

const ClassDescription& UIScreen::classDescription()
{
    static const auto& description
        = *new ClassDescription(ClassDescription::of<UIScreen, NSObject>("UIScreen"));
    return description;
}
static const RegisteredClass registeredUIScreen { &UIScreen::classDescription };

UIScreen& UIScreen::mainScreen()
{
    static const ProcessLocal<UIScreen> screen;
    return screen.get();
}

static const ScreenFacts& facts() { return Process::current().configuration().screen; }

CGRect UIScreen::bounds() const { return CGRectMake(0, 0, facts().width, facts().height); }
double UIScreen::scale() const { return facts().scale; }

} // namespace lumora
