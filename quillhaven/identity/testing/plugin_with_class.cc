// A plug-in whose principal class is a C++ class.
class __attribute__((visibility("default"))) LFMailBundle {
 public:
  virtual ~LFMailBundle();
};

LFMailBundle::~LFMailBundle() = default;
