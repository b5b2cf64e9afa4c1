// SPDX-License-Identifier: GPL-3.0-or-later
// The start of the program, seen from outside, with many plug-ins and with none, alternating: the console with its song
// on the screen, by the one control that shines red, below the menus; the sound, by JACK's notification that the output
// is connected to the playback ports, which the program does once its blocks run; and the processor time up to half a
// second later. The plug-ins are those of the tests' zoo under many names. A warm start finds the list of the start
// before; a cold one finds none.

#include <jack/jack.h>
#include <sys/resource.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "percentile.h"
#include "support/devices/child_process.h"
#include "support/devices/jack_access.h"
#include "support/devices/jack_server.h"
#include "support/ui/virtual_display.h"

namespace vrel::app::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr auto settleTime = std::chrono::milliseconds(500);

/// Notices when the program's output is connected.
class StreamWatch {
 public:
  explicit StreamWatch(const std::string& serverName) : client_(system::test::joinServer("watch", serverName)) {
    if (!client_ || jack_set_port_connect_callback(client_.get(), notice, this) != 0 ||
        jack_activate(client_.get()) != 0) {
      throw std::runtime_error("cannot open a JACK client");
    }
  }

  [[nodiscard]] Clock::time_point linkedAt() const { return linkedAt_; }
  [[nodiscard]] bool isLinked() const { return linkedAt() != Clock::time_point::max(); }

 private:
  static void notice(jack_port_id_t from, jack_port_id_t /*to*/, int isConnected, void* watch) {
    auto& self = *static_cast<StreamWatch*>(watch);
    const auto* const port = jack_port_by_id(self.client_.get(), from);
    const bool isOurs = port != nullptr && std::string_view(jack_port_name(port)).starts_with("vrel:");
    if (isOurs && isConnected != 0 && !self.isLinked()) {
      self.linkedAt_ = Clock::now();
    }
  }

  std::atomic<Clock::time_point> linkedAt_{Clock::time_point::max()};
  system::test::Client client_;
};

/// Looks at the corner of the screen where the red button is once the menus are above it, which come with the song.
class Screen {
 public:
  Screen() : server_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(server_) != 0) {
      throw std::runtime_error("cannot reach the X server");
    }
    root_ = xcb_setup_roots_iterator(xcb_get_setup(server_)).data->root;
  }
  ~Screen() { xcb_disconnect(server_); }
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  [[nodiscard]] bool showsProgram() const {
    const auto asked = xcb_get_image(server_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, 1340, 60, 80, 60, ~0U);
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
        xcb_get_image_reply(server_, asked, nullptr), &std::free);
    if (reply == nullptr) {
      return false;
    }
    const std::uint8_t* const bytes = xcb_get_image_data(reply.get());
    int red = 0;
    for (int at = 0; at + 3 < xcb_get_image_data_length(reply.get()); at += 4) {
      red += bytes[at + 2] > 180 && bytes[at + 1] < 80 && bytes[at] < 80 ? 1 : 0;
    }
    return red > 100;
  }

 private:
  xcb_connection_t* const server_;
  xcb_window_t root_ = 0;
};

/// Of all processes that this one has waited for.
double processorMilliseconds() {
  rusage used{};
  getrusage(RUSAGE_CHILDREN, &used);
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1000 + static_cast<double>(time.tv_usec) / 1000;
  };
  return milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
}

struct Start {
  double picture = 0;    // milliseconds from the start of the process
  double sound = 0;      // the same
  double processor = 0;  // milliseconds
};

/// What a start finds.
struct Scene {
  fs::path bundles;
  fs::path cache;
  bool isKept = false;    // the list of the start before
  bool doesHang = false;  // the sound server
};

/// One start, on a server of its own: a server whose clients were killed may block for long.
Start startOnce(system::test::JackServer& server, const Screen& screen, const fs::path& folder, const Scene& scene) {
  // NOLINTBEGIN(concurrency-mt-unsafe): nobody else reads them
  ::setenv("LV2_PATH", scene.bundles.c_str(), 1);
  ::setenv("XDG_CACHE_HOME", scene.cache.c_str(), 1);
  // A session of its own, or it would hand over to a program that runs already.
  ::setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
  // NOLINTEND(concurrency-mt-unsafe)
  if (!scene.isKept) {
    fs::remove_all(scene.cache);
  }
  server.start();
  system::test::ChildProcess program;
  auto watch = scene.doesHang ? nullptr : std::make_unique<StreamWatch>(server.name());
  if (scene.doesHang) {
    server.hang();
  }
  const auto list = scene.cache / "vrel" / "plugins";
  const auto start = Clock::now();
  auto shownAt = Clock::time_point::max();
  program.start({VREL_PROGRAM}, folder / "vrel.log");
  const auto isOver = [&] {
    if (shownAt == Clock::time_point::max() && screen.showsProgram()) {
      shownAt = Clock::now();
    }
    const bool isDone = shownAt != Clock::time_point::max() &&
                        (scene.doesHang || (watch->isLinked() && (scene.isKept || fs::exists(list))));
    return isDone || !program.isRunning();
  };
  const bool isWhole = system::test::eventually(isOver) && program.isRunning();
  std::this_thread::sleep_for(settleTime);
  Start measured;
  measured.picture = Milliseconds(shownAt - start).count();
  measured.sound = watch != nullptr ? Milliseconds(watch->linkedAt() - start).count() : 0;
  watch.reset();  // before the program: the server may block for long once a client was killed
  const double before = processorMilliseconds();
  program.end(SIGKILL);
  measured.processor = processorMilliseconds() - before;
  server.kill();
  if (!isWhole) {
    throw std::runtime_error("the program shows nothing, or did not connect its output");
  }
  return measured;
}

std::string textOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void replaceAll(std::string& text, std::string_view what, const std::string& with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
}

/// The zoo's sound bundles again and again, under other URIs; their libraries are not there.
void makeBundles(const fs::path& place, int count) {
  std::vector<fs::path> originals;
  for (const auto& entry : fs::directory_iterator(VREL_ZOO_PATH)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with("broken") && name != "presets.lv2") {
      originals.push_back(entry.path());
    }
  }
  std::sort(originals.begin(), originals.end());
  for (int number = 0; number < count; ++number) {
    const fs::path& original = originals[static_cast<std::size_t>(number) % originals.size()];
    const fs::path copy = place / (std::to_string(number) + original.filename().string());
    fs::create_directories(copy);
    for (const auto& file : fs::directory_iterator(original)) {
      if (file.path().extension() == ".ttl") {
        std::string text = textOf(file.path());
        replaceAll(text, "urn:vrel:zoo:", "urn:vrel:zoo" + std::to_string(number) + ":");
        std::ofstream(copy / file.path().filename(), std::ios::binary) << text;
      }
    }
  }
}

struct Series {
  const char* what = "";
  Scene scene;
  std::vector<Start> starts{};

  [[nodiscard]] std::vector<double> sorted(double Start::*value) const {
    std::vector<double> values;
    for (const Start& start : starts) {
      values.push_back(start.*value);
    }
    std::sort(values.begin(), values.end());
    return values;
  }
  [[nodiscard]] double median(double Start::*value) const { return vrel::bench::percentile(sorted(value), 0.5); }
};

void report(const char* what, const Series& series, double Start::*value) {
  const auto values = series.sorted(value);
  std::printf("%-18s %-36s %8.0f %8.0f %8.0f\n", what, series.what, values.front(),
              vrel::bench::percentile(values, 0.5), values.back());
}

void measure(int runs, int plugins, const fs::path& folder) {
  system::test::JackServer server;
  ::setenv("JACK_DEFAULT_SERVER", server.name().c_str(), 1);
  ::setenv("JACK_NO_START_SERVER", "1", 1);
  ::setenv("VREL_PLUGIN_HOST", VREL_PLUGIN_HOST_PROGRAM, 1);
  const test::VirtualDisplay display(1440, 900);
  const Screen screen;
  test::moveHome(folder);
  const auto nothing = folder / "no-plug-ins";
  const auto many = folder / "plug-ins";
  fs::create_directory(nothing);
  makeBundles(many, plugins);

  enum { none, warm, cold, hung, seriesCount };
  std::array<Series, seriesCount> series{{
      {"no plug-ins", {nothing, folder / "cache-none", true, false}},
      {"warm", {many, folder / "cache-warm", true, false}},
      {"cold", {many, folder / "cache-cold", false, false}},
      {"cold, and the sound server hangs", {many, folder / "cache-hung", false, true}},
  }};
  Scene first = series[warm].scene;
  first.isKept = false;
  (void)startOnce(server, screen, folder, first);  // makes the list
  for (int run = 0; run < runs; ++run) {
    for (Series& each : series) {
      each.starts.push_back(startOnce(server, screen, folder, each.scene));
    }
  }
  std::printf("%d starts each; %d bundles; milliseconds\n", runs, plugins);
  std::printf("%-18s %-36s %8s %8s %8s\n", "", "", "least", "median", "most");
  for (const Series& each : series) {
    report("console", each, &Start::picture);
  }
  for (const auto which : {none, warm, cold}) {
    report("sound", series[which], &Start::sound);
  }
  for (const auto which : {none, warm, cold}) {
    report("processor time", series[which], &Start::processor);
  }
  const auto ratio = [&](double Start::*value) { return series[warm].median(value) / series[none].median(value); };
  std::printf("warm against none (medians; bar 1.15): console %.2f, sound %.2f, processor time %.2f\n",
              ratio(&Start::picture), ratio(&Start::sound), ratio(&Start::processor));
}

struct Options {
  int runs = 10;
  int plugins = 600;
};

Options optionsOf(const std::vector<std::string>& arguments) {
  Options options;
  for (std::size_t at = 0; at < arguments.size(); at += 2) {
    const int number = at + 1 < arguments.size() ? std::stoi(arguments[at + 1]) : 0;
    if (number < 1 || (arguments[at] != "--runs" && arguments[at] != "--plugins")) {
      throw std::invalid_argument("usage: start_bench [--runs N] [--plugins N]");
    }
    (arguments[at] == "--runs" ? options.runs : options.plugins) = number;
  }
  return options;
}

}  // namespace
}  // namespace vrel::app::bench

int main(int argumentCount, char** arguments) {
  using namespace vrel::app;
  try {
    const auto options = bench::optionsOf({arguments + 1, arguments + argumentCount});
    const auto folder = test::makeTemporaryFolder();
    bench::measure(options.runs, options.plugins, folder);
    std::filesystem::remove_all(folder);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
