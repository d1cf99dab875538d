#include "bench/wall/camera.h"
#include "bench/wall/handle_memory.h"
#include "client/demo/synthetic_scene.h"
#include "client/media_input.h"
#include "tests/kit/frames.h"

#include <algorithm>
#include <array>
#include <barrier>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

// A wall of cameras, each with a picture for the screen, a small gray one and motion detection, on
// threads that take their cameras in turn: what the library and its peers make of them, and how
// threads share the machine.

namespace {

using MakeCamera = CameraPtr (*)(CStream&);

struct COptions {
  std::vector<std::string> inputs;
  std::size_t cameras = 12;
  std::size_t pictures = 24;  // of each stream
  double seconds = 4;         // of each row
};

struct CUsage {
  double seconds;  // of the processor
  long faults, switches;
};
CUsage ThreadUsage() {
  rusage usage;
  getrusage(RUSAGE_THREAD, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_minflt + usage.ru_majflt,
          usage.ru_nvcsw + usage.ru_nivcsw};
}

double ResidentMegabytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0, resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

struct CRow {
  double seconds = 0;  // on the clock
  CUsage used{};
  std::int64_t frames = 0;
  std::array<double, ICamera::stages> milliseconds{};  // of the processor, for each frame
  double megabytes = 0;                                // for each camera

  [[nodiscard]] double FramesPerSecond() const { return static_cast<double>(frames) / seconds; }
  [[nodiscard]] double FramesPerCore() const { return static_cast<double>(frames) / used.seconds; }
};

// Calls `work(i)` on thread i again and again until the time is up.
template <class Work>
CRow RunThreads(std::size_t threads, double seconds, Work work) {
  CRow row;
  std::mutex mutex;
  std::barrier start(static_cast<std::ptrdiff_t>(threads));
  std::vector<std::jthread> all;
  for (std::size_t i = 0; i < threads; ++i)
    all.emplace_back([&, i] {
      start.arrive_and_wait();
      const CUsage before = ThreadUsage();
      const auto begin = std::chrono::steady_clock::now();
      std::int64_t frames = 0;
      std::chrono::duration<double> taken{};
      for (; taken.count() < seconds; taken = std::chrono::steady_clock::now() - begin, ++frames)
        work(i);
      const CUsage after = ThreadUsage();
      const std::lock_guard lock(mutex);
      row.frames += frames;
      row.used.seconds += after.seconds - before.seconds;
      row.used.faults += after.faults - before.faults;
      row.used.switches += after.switches - before.switches;
      row.seconds = std::max(row.seconds, taken.count());
    });
  all.clear();
  return row;
}

// Shares `cameras` cameras, of the streams in turn, among the threads.
CRow RunWall(const std::vector<CStream>& streams, std::size_t cameras, std::size_t threads,
             double seconds, MakeCamera make) {
  struct CThread {
    std::vector<CStream> streams;
    std::vector<CameraPtr> cameras;
    std::size_t next = 0;
    void Work() { cameras[next++ % cameras.size()]->Next(); }
  };
  const kit::FramePool pool({.reuse = true});
  std::vector<CThread> all(threads);
  for (CThread& thread : all)
    thread.streams = streams;
  malloc_trim(0);
  const double before = ResidentMegabytes();
  for (std::size_t i = 0; i < cameras; ++i) {
    CThread& thread = all[i % threads];
    thread.cameras.push_back(make(thread.streams[i % streams.size()]));
    for (int warm = 0; warm < 3; ++warm)
      thread.cameras.back()->Next();
    thread.cameras.back()->nanoseconds = {};
  }
  const double megabytes = (ResidentMegabytes() - before) / static_cast<double>(cameras);
  CRow row = RunThreads(threads, seconds, [&](std::size_t i) { all[i].Work(); });
  row.megabytes = megabytes;
  for (const CThread& thread : all)
    for (const CameraPtr& camera : thread.cameras)
      for (int stage = 0; stage < ICamera::stages; ++stage)
        row.milliseconds[stage] +=
            static_cast<double>(camera->nanoseconds[stage]) / 1e6 / static_cast<double>(row.frames);
  return row;
}

// Copies as many bytes as a picture of 1080p for the screen has; what threads lose here is lost to
// the memory that they share.
CRow RunCopies(std::size_t threads, double seconds) {
  constexpr std::size_t size = std::size_t{1920} * 1080 * 4;
  std::vector<kit::Bytes> from(threads, kit::Bytes(size, 1)), to(threads, kit::Bytes(size, 2));
  return RunThreads(threads, seconds,
                    [&](std::size_t i) { std::memcpy(to[i].data(), from[i].data(), size); });
}

void PrintHead(const char* what) {
  std::printf("\n%-38s %8s %8s %7s %7s %7s %8s\n", what, "frames/s", "per core", "screen", "gray",
              "motion", "MB each");
}
void Print(const std::string& name, const CRow& row) {
  std::printf("%-38s %8.1f %8.1f %7.2f %7.2f %7.2f %8.1f\n", name.c_str(), row.FramesPerSecond(),
              row.FramesPerCore(), row.milliseconds[ICamera::screen],
              row.milliseconds[ICamera::gray], row.milliseconds[ICamera::motion], row.megabytes);
}

std::vector<CStream> EncodeStreams(const COptions& options) {
  std::vector<CStream> streams;
  for (const auto& [width, height] : {std::pair(1920, 1080), {640, 480}})
    for (const int video : {ZTLIB_VIDEO_MJPEG, ZTLIB_VIDEO_MJPEGDIFF, ZTLIB_VIDEO_LAYEREDDIFF}) {
      std::unique_ptr<IPictureSource> source;
      if (options.inputs.empty())
        source = std::make_unique<CSyntheticScene>(width, height,
                                                   static_cast<std::int64_t>(options.pictures));
      else
        source =
            std::make_unique<CMediaInput>(options.inputs[streams.size() % options.inputs.size()]);
      streams.push_back(EncodeStream(*source, options.pictures, video, width, height));
    }
  return streams;
}

void Run(const COptions& options) {
  ztlib_registerLogger([](std::int32_t, const char*) {});  // its lines would tear the tables apart
  std::vector<CStream> streams;
  {
    const kit::FramePool pool;
    streams = EncodeStreams(options);
    PrintHandleMemory(streams);
  }
  const std::pair<const char*, MakeCamera> implementations[] = {{"ztlib", NewLibraryCamera},
                                                                {"peers", NewPeerCamera}};

  PrintHead("one camera, milliseconds for a frame");
  for (const CStream& stream : streams)
    for (const auto& [name, make] : implementations)
      Print(stream.Name() + ", " + name, RunWall({stream}, 1, 1, options.seconds / 6, make));

  std::vector<std::size_t> threads{1, 2};
  for (std::size_t cores = std::thread::hardware_concurrency(); threads.back() * 2 <= cores;)
    threads.push_back(threads.back() * 2);
  std::map<std::string, double> oneThread;
  const auto speedup = [&oneThread](const std::string& name, const CRow& row) {
    return row.FramesPerSecond() / oneThread.try_emplace(name, row.FramesPerSecond()).first->second;
  };
  PrintHead((std::to_string(options.cameras) + " cameras, all kinds in turn").c_str());
  std::vector<std::string> notes;
  for (const std::size_t count : threads) {
    const std::string suffix = ", " + std::to_string(count) + (count == 1 ? " thread" : " threads");
    for (const auto& [name, make] : implementations) {
      const CRow row = RunWall(streams, options.cameras, count, options.seconds, make);
      Print(name + suffix, row);
      char note[200];
      std::snprintf(note, sizeof note,
                    "%-38s %6.1f cameras at 25/s a core, %4.2f times one thread, %.1f faults and "
                    "%.2f switches a frame",
                    (name + suffix).c_str(), row.FramesPerCore() / 25, speedup(name, row),
                    static_cast<double>(row.used.faults) / static_cast<double>(row.frames),
                    static_cast<double>(row.used.switches) / static_cast<double>(row.frames));
      notes.emplace_back(note);
    }
    const CRow copies = RunCopies(count, options.seconds / 4);
    char note[100];
    std::snprintf(note, sizeof note, "%-38s %6.2f ms each, %4.2f times one thread",
                  ("memcpy of a picture" + suffix).c_str(), 1e3 / copies.FramesPerCore(),
                  speedup("memcpy", copies));
    notes.emplace_back(note);
  }
  std::puts("");
  for (const std::string& note : notes)
    std::puts(note.c_str());
}

}  // namespace

int main(int count, char** words) {
  COptions options;
  CLI::App app("A wall of cameras, for the library and its peers", "ztlib_wall");
  app.add_option("--input", options.inputs,
                 "Clips for the kinds of cameras; a drawn street if none");
  app.add_option("--cameras", options.cameras, "How many")->check(CLI::Range(1, 1000));
  app.add_option("--seconds", options.seconds, "How long each row of the wall is measured");
  CLI11_PARSE(app, count, words);
  try {
    Run(options);
  } catch (const std::exception& error) {
    std::cerr << "ztlib_wall: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
