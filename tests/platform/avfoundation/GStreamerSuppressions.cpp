// What the leak checker cannot know about the decoder's libraries. Read by the sanitizers' run-time at start.

extern "C" const char* __asan_default_options();
extern "C" const char* __lsan_default_suppressions();

// Whole stacks, also through libraries without frame pointers, so that no more than what is named is let off.
const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }

// Fontconfig refers to its patterns by offsets. GLib leaves the first table of its names when it grows, made
// while the program is loaded, as it may be read at any moment. GObject now and then loses what it notes on
// an object while the last reference goes on another thread.
const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n"
           "leak:_dl_init\n"
           "leak:g_object_unref\n";
}
