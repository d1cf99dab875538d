// Shows many cameras side by side on a pool of threads: viewer OUT.ppm IN.zts ...
#include "recording.hpp"

#include <atomic>
#include <cstdio>
#include <thread>

struct Camera {
  Recording recording;
  ztlib::Decoder decoder{{ZTLIB_RGB, 4}};
  ztlib::Bytes frame, pixels;  // the last picture, red, green and blue
  int width = 0, height = 0, frames = 0;
  explicit Camera(const char* path) : recording(path) {}

  void Play() try {
    for (; recording.Next(frame); ++frames) {
      const ztlib::Frame& shown = decoder.Decode(frame).FrameAs();
      width = shown.width;
      height = shown.height;
      pixels.clear();
      for (const std::uint8_t* p = shown.data[0]; p < shown.data[0] + shown.size; p += 4)
        pixels.insert(pixels.end(), {p[2], p[1], p[0]});
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "frame %d: %s\n", frames, error.what());
  }
};

int main(int count, char** arguments) try {
  if (count < 3) throw std::runtime_error("viewer OUT.ppm IN.zts ...");
  const ztlib::Session session;  // before all threads, and until all have ended
  std::vector<Camera> cameras;
  for (int i = 2; i < count; ++i)
    cameras.emplace_back(arguments[i]);
  // A decoder belongs to one thread at a time; each thread takes the next camera that is free.
  std::atomic<std::size_t> next = 0;
  const auto work = [&] {
    for (std::size_t i = next++; i < cameras.size(); i = next++)
      cameras[i].Play();
  };
  std::vector<std::thread> threads;
  for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
    threads.emplace_back(work);
  work();
  for (std::thread& thread : threads)
    thread.join();
  std::ofstream file(arguments[1], std::ios::binary);
  const Camera& first = cameras[0];
  file << "P6 " << first.width << ' ' << first.height * int(cameras.size()) << " 255\n";
  for (Camera& camera : cameras) {
    camera.pixels.resize(first.pixels.size());  // pictures of other sizes are cut or filled
    file.write(reinterpret_cast<const char*>(camera.pixels.data()),
               std::streamsize(camera.pixels.size()));
    std::printf("%d frames of %dx%d\n", camera.frames, camera.width, camera.height);
  }
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
