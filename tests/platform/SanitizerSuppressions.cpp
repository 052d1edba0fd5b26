// What the sanitizers cannot know about libraries that are not built with them. Read by their run-time at
// start.

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions();

// Fontconfig refers to its patterns by offsets, which the leak checker does not follow: what is in use looks
// lost. The web engine keeps what its thread has allocated in tables of its own.
const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n"
           "leak:libjavascriptcoregtk\n";
}

// GObject's class lock is released behind the checker's back, so it looks held for ever after.
// Pango reads font files on a thread of its own and synchronises it with GLib's locks, which the thread
// checker cannot see.
const char* __tsan_default_suppressions()
{
    return "deadlock:libgobject-2\n"
           "mutex:libgobject-2\n"
           "called_from_lib:libpangoft2\n"
           "called_from_lib:libpango-1\n"
           "called_from_lib:libpangocairo\n"
           "called_from_lib:libglib-2\n"
           "called_from_lib:libcairo.so\n"
           "called_from_lib:libfontconfig\n";
}
