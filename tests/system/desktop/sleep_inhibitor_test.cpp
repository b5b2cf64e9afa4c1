// SPDX-License-Identifier: GPL-3.0-or-later
#include "system/desktop/sleep_inhibitor.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>
#include <QThread>
#include <QVariant>
#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "support/devices/child_process.h"
#include "support/ui/virtual_display.h"

namespace vrel::system {
namespace {

using test::eventually;

/// A message bus of the test's own.
class OwnBus {
 public:
  OwnBus() : folder_(app::test::makeTemporaryFolder()) {
    const std::string file = folder_ / "address";
    server_.start({"sh", "-c", "exec dbus-daemon --session --nofork --nopidfile --print-address=3 3>" + file},
                  folder_ / "bus.log");
    EXPECT_TRUE(eventually([&] {
      std::ifstream stream(file);
      return static_cast<bool>(std::getline(stream, address)) && !address.empty();
    }));
  }
  ~OwnBus() {
    server_.end(SIGTERM);
    std::filesystem::remove_all(folder_);
  }
  OwnBus(const OwnBus&) = delete;
  OwnBus& operator=(const OwnBus&) = delete;

  std::string address;

 private:
  std::filesystem::path folder_;
  test::ChildProcess server_;
};

/// Services of a desktop on a bus, which count what they hold off.
class Desktop final : public QDBusVirtualObject {
 public:
  Desktop(const std::string& address, const std::vector<std::string>& names)
      : connection_(QDBusConnection::connectToBus(QString::fromStdString(address), "desktop")) {
    EXPECT_TRUE(connection_.registerVirtualObject("/", this, QDBusConnection::SubPath));
    for (const auto& name : names) {
      EXPECT_TRUE(connection_.registerService(QString::fromStdString(name)));
    }
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    kept_ = ends[0];
    given_ = ends[1];
    moveToThread(&thread_);  // where its messages come
    thread_.start();
  }
  ~Desktop() override {
    thread_.quit();
    thread_.wait();
    QDBusConnection::disconnectFromBus("desktop");
    ::close(kept_);
  }
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

  // On the thread.
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    const MutexLock lock(mutex_);
    calls_.push_back((message.interface() + "." + message.member()).toStdString());
    if (message.interface() == "org.freedesktop.login1.Manager") {
      loginWhat_ = message.arguments().constFirst().toString().toStdString();
      auto reply = message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(given_)));
      connection.send(reply);
      ::close(given_);
    } else {
      connection.send(message.createReply(QVariant(message.member() == "Inhibit" ? 42U : 0U)));
    }
    return true;
  }

  [[nodiscard]] bool hasCall(const std::string& call) const {
    const MutexLock lock(mutex_);
    return std::find(calls_.begin(), calls_.end(), call) != calls_.end();
  }
  [[nodiscard]] std::string loginWhat() const {
    const MutexLock lock(mutex_);
    return loginWhat_;
  }
  /// Whether nobody holds the login manager's descriptor any more. Waits for that.
  [[nodiscard]] bool isLoginFree() const {
    char byte = 0;
    return ::read(kept_, &byte, 1) == 0;
  }

 private:
  QDBusConnection connection_;
  mutable Mutex mutex_;
  std::vector<std::string> calls_ VREL_GUARDED_BY(mutex_);
  std::string loginWhat_ VREL_GUARDED_BY(mutex_);
  int kept_ = -1;
  int given_ = -1;
  QThread thread_;
};

class QtEnvironment : public testing::Environment {
 public:
  void SetUp() override { application_ = std::make_unique<QCoreApplication>(argumentCount_, arguments_); }
  void TearDown() override { application_.reset(); }

 private:
  int argumentCount_ = 1;
  char name_[16] = "inhibitor_test";
  char* arguments_[2] = {name_, nullptr};
  std::unique_ptr<QCoreApplication> application_;
};

const auto* const environment = testing::AddGlobalTestEnvironment(new QtEnvironment);

TEST(SleepInhibiting, AsksEveryServiceThereIsAndGivesAllBack) {
  const OwnBus bus;
  const Desktop desktop(bus.address,
                        {"org.freedesktop.ScreenSaver", "org.gnome.SessionManager", "org.freedesktop.login1"});
  std::atomic<int> lines{0};
  {
    SleepInhibitor inhibitor({bus.address, bus.address}, [&](const std::string&) { ++lines; });
    inhibitor.setActive(true);
    inhibitor.setActive(true);
    EXPECT_TRUE(eventually([&] { return desktop.hasCall("org.freedesktop.login1.Manager.Inhibit"); }));
    EXPECT_TRUE(eventually([&] { return desktop.hasCall("org.freedesktop.ScreenSaver.Inhibit"); }));
    EXPECT_TRUE(eventually([&] { return desktop.hasCall("org.gnome.SessionManager.Inhibit"); }));
    EXPECT_FALSE(desktop.hasCall("org.freedesktop.ScreenSaver.UnInhibit"));
    EXPECT_EQ(desktop.loginWhat(), "sleep:idle:handle-lid-switch");
  }
  EXPECT_TRUE(desktop.hasCall("org.freedesktop.ScreenSaver.UnInhibit")) << "the end gives it back";
  EXPECT_TRUE(desktop.hasCall("org.gnome.SessionManager.Uninhibit"));
  EXPECT_TRUE(desktop.isLoginFree());
  EXPECT_EQ(lines, 0);
}

TEST(SleepInhibiting, SaysOnceThatNobodyAnswers) {
  const OwnBus bus;
  for (const auto& buses : {SleepInhibitor::Buses{"disabled:", ""}, SleepInhibitor::Buses{bus.address, bus.address},
                            SleepInhibitor::Buses{"unix:path=/nowhere/at/all", "nonsense"}}) {
    std::atomic<int> lines{0};
    {
      SleepInhibitor inhibitor(buses, [&](const std::string&) { ++lines; });
      inhibitor.setActive(false);
      inhibitor.setActive(true);
    }
    EXPECT_EQ(lines, 1) << buses.session;
  }
}

}  // namespace
}  // namespace vrel::system
