// A plug-in whose principal class is a symbol with C linkage.
extern "C" {
__attribute__((visibility("default"))) int LFMailBundle = 1;
}
