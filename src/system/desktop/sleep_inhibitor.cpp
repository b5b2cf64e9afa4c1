// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/desktop/sleep_inhibitor.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusUnixFileDescriptor>
#include <QList>
#include <QString>
#include <QVariant>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace vrel::system {
namespace {

constexpr int answerMilliseconds = 2000;
constexpr unsigned suspendAndIdle = 4U | 8U;  // of the session managers
constexpr auto program = "VREL";
constexpr auto reason = "a show is on";

struct Service {
  const char* name;
  const char* path;
  const char* interface;
  const char* release;
  bool isSessionManager;
};
constexpr std::array services{
    Service{"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "org.freedesktop.ScreenSaver", "UnInhibit",
            false},
    Service{"org.freedesktop.PowerManagement.Inhibit", "/org/freedesktop/PowerManagement/Inhibit",
            "org.freedesktop.PowerManagement.Inhibit", "UnInhibit", false},
    Service{"org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager", "Uninhibit", true},
    Service{"org.mate.SessionManager", "/org/mate/SessionManager", "org.mate.SessionManager", "Uninhibit", true},
};

QDBusMessage callTo(const Service& service, const char* method, const QVariantList& arguments) {
  auto call = QDBusMessage::createMethodCall(service.name, service.path, service.interface, method);
  call.setArguments(arguments);
  call.setAutoStartService(false);
  return call;
}

// NOLINTBEGIN(concurrency-mt-unsafe): nothing sets the environment by then
std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}
// NOLINTEND(concurrency-mt-unsafe)

/// A connection of its own, closed with it: what services have given on it they take back then.
class Bus {
 public:
  explicit Bus(const std::string& address)
      : name_(QStringLiteral("vrel-inhibitor-%1").arg(reinterpret_cast<quintptr>(this))),
        connection_(address.empty() || address == "disabled:"
                        ? QDBusConnection(name_)
                        : QDBusConnection::connectToBus(QString::fromStdString(address), name_)) {}
  ~Bus() { QDBusConnection::disconnectFromBus(name_); }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  [[nodiscard]] QDBusConnection* operator->() { return &connection_; }

 private:
  const QString name_;
  QDBusConnection connection_;
};

}  // namespace

struct SleepInhibitor::Holds {
  Holds(Buses given, Log toLog) : buses(std::move(given)), log(std::move(toLog)) {}

  void take();
  void giveBack();

  const Buses buses;
  const Log log;
  std::unique_ptr<Bus> session;
  std::vector<std::pair<Service, unsigned>> cookies;
  std::optional<QDBusUnixFileDescriptor> login;  // held for as long as it is open
};

void SleepInhibitor::Holds::take() {
  session = std::make_unique<Bus>(buses.session);
  Bus system(buses.system);
  std::vector<std::pair<Service, QDBusPendingCall>> asked;
  if ((*session)->isConnected()) {
    for (const auto& service : services) {
      const QVariantList arguments =
          service.isSessionManager ? QVariantList{program, 0U, reason, suspendAndIdle} : QVariantList{program, reason};
      asked.emplace_back(service, (*session)->asyncCall(callTo(service, "Inhibit", arguments), answerMilliseconds));
    }
  }
  std::optional<QDBusPendingCall> login1;
  if (system->isConnected()) {
    constexpr Service manager{"org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "",
                              false};
    login1 = system->asyncCall(callTo(manager, "Inhibit", {"sleep:idle:handle-lid-switch", program, reason, "block"}),
                               answerMilliseconds);
  }
  for (auto& [service, answer] : asked) {
    answer.waitForFinished();
    const auto values = answer.reply().arguments();
    if (!answer.isError() && !values.isEmpty()) {
      cookies.emplace_back(service, values.constFirst().toUInt());
    }
  }
  if (login1) {
    login1->waitForFinished();
    const auto values = login1->reply().arguments();
    if (!login1->isError() && !values.isEmpty()) {
      login = values.constFirst().value<QDBusUnixFileDescriptor>();
    }
  }
  if (cookies.empty() && !login) {
    log("nothing here keeps the screen saver and sleep away during a show: no service for that answers");
  }
}

void SleepInhibitor::Holds::giveBack() {
  std::vector<QDBusPendingCall> answers;
  for (const auto& [service, cookie] : std::exchange(cookies, {})) {
    answers.push_back((*session)->asyncCall(callTo(service, service.release, {cookie}), answerMilliseconds));
  }
  for (auto& answer : answers) {
    answer.waitForFinished();
  }
  login.reset();
  session.reset();
}

SleepInhibitor::SleepInhibitor(Buses buses, Log log)
    : holds_(std::make_shared<Holds>(std::move(buses), std::move(log))) {}

SleepInhibitor::~SleepInhibitor() {
  setActive(false);
}

SleepInhibitor::Buses SleepInhibitor::usualBuses() {
  Buses buses{variable("DBUS_SESSION_BUS_ADDRESS"), variable("DBUS_SYSTEM_BUS_ADDRESS")};
  std::error_code ignored;
  const auto runtime = variable("XDG_RUNTIME_DIR");
  if (buses.session.empty() && !runtime.empty() && std::filesystem::is_socket(runtime + "/bus", ignored)) {
    buses.session = "unix:path=" + runtime + "/bus";
  }
  const std::string usual = "/run/dbus/system_bus_socket";
  if (buses.system.empty() && std::filesystem::is_socket(usual, ignored)) {
    buses.system = "unix:path=" + usual;
  }
  return buses;
}

void SleepInhibitor::setActive(bool isActive) {
  if (std::exchange(isActive_, isActive) == isActive) {
    return;
  }
  thread_.post([holds = holds_, isActive] { isActive ? holds->take() : holds->giveBack(); });
}

}  // namespace vrel::system
