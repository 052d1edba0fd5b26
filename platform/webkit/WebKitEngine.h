#pragma once

#include "platform/webkit/WebEngine.h"

namespace lumora {

// The real web engine, off-screen, where this machine has one. It is optional: what wants it links it, and
// gives `makeWebKitEngine` to `setWebEngineFactory`. Pages run in processes of their own, in a sandbox where
// the machine lets there be one; the console of the process that makes an engine says when there is none.
// They inherit the descriptors of this program that are not closed when another is run.

/// Why there can be no real engine; empty when there can. The first question of the program starts the
/// engine's thread and a screen that nobody sees, which takes a tenth of a second or so, and sets variables
/// of the environment: ask before the program has other threads. Both end with the program. Any thread.
const std::string& webKitEngineProblem();

/// A real engine for a web view of the current process; null when there can be none. Its thread is the
/// program's, its cookies the process's, in memory only. All it tells arrives on the process's main queue,
/// also under a virtual clock, to which an answer from another thread is due now. An address that has not
/// answered within the time-out of its request, by the process's clock, has failed. Only GET requests are
/// sent. Main thread.
std::shared_ptr<WebEngine> makeWebKitEngine();

} // namespace lumora
