// Fontconfig keeps its patterns by offsets, which the leak checker does not follow: it takes what is in use for lost.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
