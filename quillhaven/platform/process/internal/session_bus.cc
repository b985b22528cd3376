#include "quillhaven/platform/process/internal/session_bus.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "quillhaven/platform/base/localization.h"
#include "quillhaven/platform/run_loop/main_queue.h"
#include "quillhaven/platform/run_loop/run_loop.h"

namespace quillhaven::platform::internal {
namespace {

constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kBusPath = "/org/freedesktop/DBus";
constexpr const char* kApplicationInterface = "org.freedesktop.Application";
constexpr const char* kQuitAction = "quit-preserving-state";

// What the bus itself is given to answer, on this machine.
constexpr int kBusLimitInMilliseconds = 1000;

using Case = QuitRequestError::Case;

// The address of a bus that is there: asking GLib could start one.
std::optional<std::string> busAddress() {
  const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
  if (address != nullptr && *address != '\0') return address;
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  if (folder == nullptr || *folder != '/') return std::nullopt;
  const std::string path = std::string(folder) + "/bus";
  std::error_code error;
  if (!std::filesystem::is_socket(path, error)) return std::nullopt;
  const GStringPtr escaped(::g_dbus_address_escape_value(path.c_str()));
  return std::string("unix:path=") + escaped.get();
}

// The error in the words of whoever refused, without GLib's preface.
QuitRequestError errorFrom(Case errorCase, const GError& error) {
  const GErrorPtr stripped(::g_error_copy(&error));
  ::g_dbus_error_strip_remote_error(stripped.get());
  return {errorCase, stripped->message};
}

GVariantPtr askBus(GDBusConnection* bus, const char* method, const char* name,
                   const char* type, GErrorPtr& error) {
  return GVariantPtr(::g_dbus_connection_call_sync(
      bus, kBus, kBusPath, kBus, method, ::g_variant_new("(s)", name),
      G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NO_AUTO_START,
      kBusLimitInMilliseconds, nullptr, Receive(error)));
}

std::string objectPath(std::string name) {
  std::replace(name.begin(), name.end(), '.', '/');
  std::replace(name.begin(), name.end(), '-', '_');
  return "/" + name;
}

using DidFail = std::function<void(const QuitRequestError&)>;

// An application that ends while it is asked has done what it was asked; of a
// lost bus nobody knows.
bool meansGone(const GError& error) {
  return ::g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
         ::g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_DISCONNECTED) ||
         ::g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CLOSED);
}

void quitWasAnswered(GObject* bus, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<DidFail> didFail(static_cast<DidFail*>(data));
  GErrorPtr error;
  const GVariantPtr answer(::g_dbus_connection_call_finish(
      G_DBUS_CONNECTION(bus), result, Receive(error)));
  if (error && !meansGone(*error)) {
    (*didFail)(errorFrom(Case::refused, *error));
  }
}

// On the main thread, so that the answer comes there.
void sendQuit(GDBusConnection* bus, const std::string& owner,
              const std::string& path, DidFail didFail) {
  ::g_dbus_connection_call(
      bus, owner.c_str(), path.c_str(), kApplicationInterface, "ActivateAction",
      ::g_variant_new("(s@av@a{sv})", kQuitAction,
                      ::g_variant_new_array(G_VARIANT_TYPE_VARIANT, nullptr, 0),
                      ::g_variant_new_parsed("@a{sv} {}")),
      nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, std::numeric_limits<int>::max(),
      nullptr, quitWasAnswered,
      std::make_unique<DidFail>(std::move(didFail)).release());
  // On its way also if the host ends now.
  ::g_dbus_connection_flush_sync(bus, nullptr, nullptr);
}

BusConnectionPtr sharedReference(const BusConnectionPtr& connection) {
  return BusConnectionPtr(g_object_ref(connection.get()));
}

}  // namespace

bool isBusName(const std::string& identifier) {
  return ::g_dbus_is_name(identifier.c_str()) != FALSE &&
         ::g_dbus_is_unique_name(identifier.c_str()) == FALSE &&
         ::g_variant_is_object_path(objectPath(identifier).c_str()) != FALSE;
}

BusConnectionPtr SessionBus::connection() {
  const std::lock_guard guard(lock_);
  if (connection_ && !::g_dbus_connection_is_closed(connection_.get())) {
    return sharedReference(connection_);
  }
  connection_.reset();
  const auto address = busAddress();
  if (!address) return nullptr;
  connection_.reset(::g_dbus_connection_new_for_address_sync(
      address->c_str(),
      static_cast<GDBusConnectionFlags>(
          G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr));
  return connection_ ? sharedReference(connection_) : nullptr;
}

void SessionBus::sendQuitPreservingState(const std::string& name,
                                         const IsOwner& isOwner,
                                         DidFail didFail) {
  const auto unreachable = [&] {
    didFail({Case::notReachable,
             localizedString(
                 "The application can’t be reached on the message bus.")});
  };
  if (!isBusName(name)) return unreachable();
  const BusConnectionPtr bus = connection();
  if (!bus) return unreachable();

  GErrorPtr error;
  const auto owner =
      askBus(bus.get(), "GetNameOwner", name.c_str(), "(s)", error);
  if (!owner) return didFail(errorFrom(Case::notReachable, *error));
  const gchar* uniqueName = nullptr;
  ::g_variant_get(owner.get(), "(&s)", &uniqueName);
  const auto process =
      askBus(bus.get(), "GetConnectionUnixProcessID", uniqueName, "(u)", error);
  if (!process) return didFail(errorFrom(Case::notReachable, *error));
  guint32 processIdentifier = 0;
  ::g_variant_get(process.get(), "(u)", &processIdentifier);
  // Another instance has the name.
  if (!isOwner(static_cast<std::int32_t>(processIdentifier))) {
    return unreachable();
  }

  if (isMainThread()) {
    return sendQuit(bus.get(), uniqueName, objectPath(name),
                    std::move(didFail));
  }
  RunLoop::main().perform(
      [bus = std::shared_ptr<GDBusConnection>(sharedReference(bus)),
       to = std::string(uniqueName), path = objectPath(name),
       didFail = std::move(didFail)] {
        sendQuit(bus.get(), to, path, didFail);
      });
}

// What callbacks under way may outlive.
struct BusNameWatch::State : std::enable_shared_from_this<State> {
  using Holder = std::shared_ptr<State>;

  BusConnectionPtr connection;
  std::string name;
  IsOwner isOwner;
  std::function<void()> didAppear;  // empty once called or disarmed

  // Calls back a static function with a reference to this.
  void ask(const char* method, const char* argument, const char* type,
           GAsyncReadyCallback answered) {
    ::g_dbus_connection_call(
        connection.get(), kBus, kBusPath, kBus, method,
        ::g_variant_new("(s)", argument), G_VARIANT_TYPE(type),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, answered,
        std::make_unique<Holder>(shared_from_this()).release());
  }
  void askForProcess(const char* owner) {
    ask("GetConnectionUnixProcessID", owner, "(u)", processWasTold);
  }

  static std::pair<Holder, GVariantPtr> answerOf(GObject* bus,
                                                 GAsyncResult* result,
                                                 gpointer data) {
    const std::unique_ptr<Holder> holder(static_cast<Holder*>(data));
    return {*holder, GVariantPtr(::g_dbus_connection_call_finish(
                         G_DBUS_CONNECTION(bus), result, nullptr))};
  }
  static void ownerWasTold(GObject* bus, GAsyncResult* result, gpointer data) {
    const auto [state, answer] = answerOf(bus, result, data);
    if (!answer || !state->didAppear) return;
    const gchar* owner = nullptr;
    ::g_variant_get(answer.get(), "(&s)", &owner);
    state->askForProcess(owner);
  }
  static void processWasTold(GObject* bus, GAsyncResult* result,
                             gpointer data) {
    const auto [state, answer] = answerOf(bus, result, data);
    if (!answer || !state->didAppear) return;
    guint32 process = 0;
    ::g_variant_get(answer.get(), "(u)", &process);
    if (!state->isOwner(static_cast<std::int32_t>(process))) return;
    std::exchange(state->didAppear, nullptr)();
  }
  static void ownerDidChange(GDBusConnection*, const gchar*, const gchar*,
                             const gchar*, const gchar*, GVariant* parameters,
                             gpointer data) {
    const Holder& state = *static_cast<Holder*>(data);
    if (!::g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)")) ||
        !state->didAppear) {
      return;
    }
    const gchar* owner = nullptr;
    ::g_variant_get_child(parameters, 2, "&s", &owner);
    if (*owner != '\0') state->askForProcess(owner);
  }
  static void release(gpointer data) {
    const std::unique_ptr<Holder> holder(static_cast<Holder*>(data));
  }
};

BusNameWatch::BusNameWatch(BusConnectionPtr connection, std::string name,
                           IsOwner isOwner, std::function<void()> didAppear)
    : state_(std::make_shared<State>()) {
  state_->connection = std::move(connection);
  state_->name = std::move(name);
  state_->isOwner = std::move(isOwner);
  state_->didAppear = std::move(didAppear);
  subscription_ = ::g_dbus_connection_signal_subscribe(
      state_->connection.get(), kBus, kBus, "NameOwnerChanged", kBusPath,
      state_->name.c_str(), G_DBUS_SIGNAL_FLAGS_NONE, State::ownerDidChange,
      std::make_unique<State::Holder>(state_).release(), State::release);
  state_->ask("GetNameOwner", state_->name.c_str(), "(s)", State::ownerWasTold);
}

BusNameWatch::~BusNameWatch() {
  state_->didAppear = nullptr;
  ::g_dbus_connection_signal_unsubscribe(state_->connection.get(),
                                         subscription_);
}

}  // namespace quillhaven::platform::internal
