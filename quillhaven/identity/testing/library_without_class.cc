// A library that asks for the plug-in's principal class without having it.
extern "C" {
__attribute__((weak)) extern int LFMailBundle;
__attribute__((visibility("default"))) int* principalClass() {
  return &LFMailBundle;
}
}
