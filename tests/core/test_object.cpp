// A shared object that registers nothing.

extern "C" [[gnu::visibility("default")]] int answer() {
    return 42;
}
