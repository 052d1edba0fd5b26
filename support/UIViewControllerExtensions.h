#pragma once

#include <vector>

namespace lumora {

class UIViewController;

// What the library adds to the platform's controllers. Main thread only; what is answered is borrowed.

// UIViewController (FindTopVC)

/// The controller a user sees: follows presented controllers, then containers. An empty container is its own
/// answer.
UIViewController* findBestViewController(UIViewController* controller);
/// The same from the key window's root; null without one.
UIViewController* currentViewController();
/// The same from the root of every window that has one, in the order of the windows.
std::vector<UIViewController*> currentViewControllers();

} // namespace lumora
