// The font library keeps what it once read of the machine's fonts until the process ends, and how much that
// is depends on the fonts installed. The leak checker passes over its allocations, and over nothing else.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
