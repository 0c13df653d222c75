// The font and display libraries Qt loads keep caches for the whole process; they are not ours
// to free.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libfreetype.so\nleak:libdbus-1.so\n"
           "leak:libglib-2.0.so\n";
}
