// A library that has the loader but lacks the probe entry point.
extern "C" __attribute__((visibility("default"))) int load_egbb_5men(char*, int, int) { return 1; }
