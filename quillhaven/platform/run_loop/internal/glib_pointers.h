// Owners of what GLib and the libraries over it hand out.
#ifndef QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_GLIB_POINTERS_H_
#define QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_GLIB_POINTERS_H_

#include <gio/gio.h>

#include <memory>

namespace quillhaven::platform::internal {

// Frees with a function of C.
template <auto kFree>
struct FreeWith {
  template <typename T>
  void operator()(T* object) const {
    kFree(object);
  }
};

using GErrorPtr = std::unique_ptr<GError, FreeWith<::g_error_free>>;
using GVariantPtr = std::unique_ptr<GVariant, FreeWith<::g_variant_unref>>;
using GHashTablePtr =
    std::unique_ptr<GHashTable, FreeWith<::g_hash_table_unref>>;
using GStringPtr = std::unique_ptr<gchar, FreeWith<::g_free>>;
using GStringListPtr = std::unique_ptr<gchar*, FreeWith<::g_strfreev>>;
template <typename T>
using GObjectPtr = std::unique_ptr<T, FreeWith<::g_object_unref>>;

// Receives a pointer that a function hands out through a parameter:
// `f(Receive(error))` fills `error` when the call is over.
template <typename Owner>
class Receive {
 public:
  explicit Receive(Owner& owner) : owner_(owner) {}
  Receive(const Receive&) = delete;
  Receive& operator=(const Receive&) = delete;
  ~Receive() { owner_.reset(pointer_); }

  operator typename Owner::pointer *() {  // NOLINT(google-explicit-constructor)
    return &pointer_;
  }

 private:
  Owner& owner_;
  typename Owner::pointer pointer_ = nullptr;
};

}  // namespace quillhaven::platform::internal

#endif  // QUILLHAVEN_PLATFORM_RUN_LOOP_INTERNAL_GLIB_POINTERS_H_
