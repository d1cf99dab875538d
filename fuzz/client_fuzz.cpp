#include "fuzz/call_budget.h"
#include "fuzz/good_frames.h"

#include <map>
#include <stdexcept>

// A clumsy client. It calls all exports in any order, with handles of every state and pictures of
// every format and size, and its callbacks refuse, throw, lie and call the library. It breaks no
// rule of the contract: it does nothing that ends the process on purpose, and no handle is
// destroyed, configured or used while a call works with it.
namespace {

using namespace codec_fuzz;
using fuzz::CallBudget;

struct Picture {
  int format, width, height;
};

// Rounds a size down to whole samples of the format, as the library does.
Picture WholeSamples(Picture p) {
  constexpr int side[][2] = {{1, 1}, {1, 1}, {1, 1}, {1, 1},  {2, 1},
                             {2, 1}, {1, 1}, {2, 2}, {16, 16}};
  if (p.format < 0 || p.format > 8) return {p.format, 0, 0};
  return {p.format, p.width / side[p.format][0] * side[p.format][0],
          p.height / side[p.format][1] * side[p.format][1]};
}

// A handle of a client, and the number of calls that work with it at the moment.
struct Slot {
  void* handle = nullptr;
  int users = 0;    // calls that change it
  int readers = 0;  // calls that read it
};
// Counts a call as long as it runs.
struct Use {
  explicit Use(int& counter) : counter(counter) { ++counter; }
  ~Use() { --counter; }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  int& counter;
};

const std::vector<Bytes>& SoundFrames() {
  static const std::vector<Bytes> sound = [] {
    std::vector<Bytes> all{PlainFrame()};
    for (const auto& frames : {DifferentialFrames(), LayeredFrames()})
      all.insert(all.end(), frames.begin(), frames.end());
    return all;
  }();
  return sound;
}

class ClumsyClient {
 public:
  explicit ClumsyClient(std::span<const std::uint8_t> script) : in{script} {
    self = this;
    pixelsLeft = 2 * screen;
    ztlib_registerAVFrameMgr(Allocate, Release, nullptr, 0);
    ztlib_registerExceptionHandler(HandleException);
  }
  ~ClumsyClient() {
    plan.clear();
    depth = 0;
    for (Slot& slot : images)
      ztlib_ztimage_destroy(slot.handle);
    for (Slot& slot : decoders)
      ztlib_decoder_destroy(&slot.handle);
    for (EncoderSlot& slot : encoders)
      ztlib_encoder_destroy(&slot.handle);
    for (Slot& slot : motions)
      ztlib_simplemotion_destroy(slot.handle);
    for (Slot& slot : meshes)
      ztlib_triangulation_destroy(slot.handle);
    Require(pictures.empty());  // every frame came back, and came back once
    ztlib_registerExceptionHandler(nullptr);
    self = nullptr;
  }

  // Runs the script. Returns true if the client then ends its context.
  bool Run() {
    for (int steps = 0; !in.rest.empty() && steps < 200; ++steps)
      Step();
    return endsContext;
  }
  static void Log(int, const char*) {
    if (self) self->Behave();
  }

 private:
  struct EncoderSlot : Slot {
    int video = 0, width = 0, height = 0;
    bool isConfigured = false;
  };

  // The callbacks follow, each of which behaves as the next byte of the plan says.

  enum Behaviour : std::uint8_t { good, throws, callsIn, refuses, liesAboutSize, isForeign };

  std::uint8_t Next() {
    if (plan.empty()) return good;
    const std::uint8_t next = plan.back();
    plan.pop_back();
    return next;
  }
  // Does what every callback may do, and returns the behaviour that is left to the callback.
  std::uint8_t Behave() {
    const std::uint8_t next = Next();
    if (next % 8 == callsIn && depth < 2) {
      ++depth;
      Step();
      --depth;
    }
    if (next % 8 == throws) {
      if (next < 128) throw static_cast<int>(next);
      throw std::runtime_error("a client's exception");
    }
    return next % 8;
  }

  static void* Allocate(int width, int height, int format) {
    return self->Give(width, height, format);
  }
  void* Give(int width, int height, int format) {
    const std::uint8_t behaviour = Behave();
    if (behaviour == refuses || !Spend(std::int64_t{width} * height)) return nullptr;
    CallBudget::Grant(PictureSize(width, height, format));
    Frame* const frame = FramePool::Make(width, height, format);
    pictures[frame] = {format, width, height};
    if (behaviour == liesAboutSize) frame->width = frame->height = frame->lineSize = 1;
    if (behaviour == isForeign) frame->format = -1;
    return frame;
  }
  static void Release(void* frame) {
    Require(self->pictures.erase(frame) == 1);
    FramePool::Release(frame);
    self->Behave();
  }
  static void HandleException(const char* text) {
    Require(text != nullptr && *text != '\0');
    self->failed = true;
    self->Behave();
  }
  // Keeps the output in `user`, which is a Bytes or null.
  static void Receive(void* user, const void* data, std::uint32_t size) {
    if (user) Collect(user, data, size);
    self->Behave();
  }

  // These functions choose what a step works with.

  template <class Slots>
  auto& Pick(Slots& slots) {
    return slots[in.Byte() % std::size(slots)];
  }
  int Side() {
    constexpr int sides[] = {0,   1,   2,   3,    4,    7,    8,    15,    16, 17, 24,
                             31,  32,  33,  48,   64,   65,   80,   96,    99, -1, -16,
                             128, 320, 640, 1366, 1920, 2160, 3840, 65535, 5,  6};
    return sides[in.Byte() % std::size(sides)];
  }
  // Returns the block of an earlier call, a sound frame or the script's own, with bytes changed.
  Bytes Block() {
    const std::vector<Bytes>& sound = SoundFrames();
    const std::size_t choice = in.Byte();
    Bytes block = choice < 100                      ? blocks[choice % blocks.size()]
                  : choice < 100 + 4 * sound.size() ? sound[(choice - 100) % sound.size()]
                                                    : in.Block();
    Change(in, block, in.Byte() % 8);
    return block;
  }
  // Returns format and size of the picture in an image; both are 0 for an empty image.
  Picture PictureOf(const Slot& slot) {
    if (!slot.handle) return {0, 0, 0};
    const auto found = pictures.find(ztlib_ztimage_get_avframe(slot.handle));
    return found == pictures.end() ? Picture{0, 0, 0} : WholeSamples(found->second);
  }
  std::uint64_t WorthOf(const Slot& slot) {
    const Picture p = PictureOf(slot);
    return PictureSize(p.width, p.height, p.format);
  }
  // Returns the bytes of a picture with rows as up to 8 detectors and their masks read them.
  static std::uint64_t WatchedBytes(int width, int height) {
    if (width <= 0 || height <= 0) return 0;
    return (static_cast<std::uint64_t>(width) + 8) * static_cast<std::uint64_t>(height);
  }

  // These are the steps.

  using Method = void (ClumsyClient::*)();
  void Step() {
    constexpr Method methods[] = {
        &ClumsyClient::Plan,         &ClumsyClient::NewImage,      &ClumsyClient::Wrap,
        &ClumsyClient::Wrap,         &ClumsyClient::Save,          &ClumsyClient::Load,
        &ClumsyClient::NewDecoder,   &ClumsyClient::ConfigDecoder, &ClumsyClient::Decode,
        &ClumsyClient::Decode,       &ClumsyClient::Decode,        &ClumsyClient::SetBase,
        &ClumsyClient::NewEncoder,   &ClumsyClient::ConfigEncoder, &ClumsyClient::Encode,
        &ClumsyClient::Encode,       &ClumsyClient::LookAtFrame,   &ClumsyClient::Layers,
        &ClumsyClient::AddHeader,    &ClumsyClient::NewMotion,     &ClumsyClient::ConfigMotion,
        &ClumsyClient::Detect,       &ClumsyClient::Detect,        &ClumsyClient::NewMesh,
        &ClumsyClient::AddPoints,    &ClumsyClient::Estimate,      &ClumsyClient::Numbers,
        &ClumsyClient::Registrations};
    (this->*methods[in.Byte() % std::size(methods)])();
  }

  void Plan() {
    plan.resize(in.Byte() % 16);
    for (std::uint8_t& behaviour : plan)
      behaviour = in.Byte();
  }

  void NewImage() {
    Slot& slot = Pick(images);
    if (slot.users + slot.readers > 0) return;
    void* const old = std::exchange(slot.handle, nullptr);
    ztlib_ztimage_destroy(old);
    void* const created = ztlib_ztimage_create();
    // A call from within `release` may have filled the slot meanwhile.
    ztlib_ztimage_destroy(std::exchange(slot.handle, created));
  }

  void Wrap() {
    Slot& slot = Pick(images);
    const int format = in.Byte() % 12 - 1;
    const int width = Side(), height = Side();
    const std::uint8_t look = in.Byte();
    if (slot.users + slot.readers > 0 || std::int64_t{width} * height > screen / 4) return;
    if (!Spend(std::max(std::int64_t{width} * height, std::int64_t{0}))) return;
    const bool isSize = width > 0 && height > 0 && format >= 0 && format < 9;
    const bool isDense = look % 2 == 1;
    const int stride = format == ZTLIB_GRAY && !isDense ? (width + 3) / 4 * 4 : width;
    Frame* const frame =
        FramePool::Make(width, height, format, isSize ? PictureSize(stride, height, format) : 0);
    if (isDense) frame->lineSize = width;
    if (look % 32 == 31) frame->data = nullptr;
    for (std::size_t i = 0; frame->data && i < frame->size; ++i)
      frame->data[i] = static_cast<std::uint8_t>(look < 64 ? look : (i * look) >> 5);
    pictures[frame] = {format, width, height};
    void* const image = ztlib_ztimage_create_avframe(format, look == 0 ? nullptr : frame);
    if (!image) {
      pictures.erase(frame);  // the frame stays the client's
      FramePool::Release(frame);
    }
    ztlib_ztimage_destroy(std::exchange(slot.handle, image));
  }

  void Save() {
    Slot& slot = Pick(images);
    Bytes& target = Pick(blocks);
    if (slot.users > 0) return;
    const Use use(slot.readers);
    const CallBudget budget(WorthOf(slot));
    Bytes saved;
    ztlib_ztimage_saveToZTMem(slot.handle, &saved, Receive);
    target = std::move(saved);
  }

  void Load() {
    Slot& slot = Pick(images);
    const Bytes block = Block();
    if (slot.users > 0) return;
    const Use use(slot.users);
    const CallBudget budget(block.size());
    const ztlib_blob blob{block.data(), block.size()};
    ztlib_ztimage_loadFromZTMem(slot.handle, &blob);
  }

  static int Video(std::uint8_t choice) {
    constexpr int formats[] = {0, 3, 4, 7, 3, 7, 5, -1};
    return formats[choice % std::size(formats)];
  }

  void NewDecoder() {
    Slot& slot = Pick(decoders);
    const int video = Video(in.Byte());
    if (slot.users > 0) return;
    ztlib_decoder_destroy(&slot.handle);
    void* created = ztlib_decoder_create(video);
    std::swap(slot.handle, created);
    ztlib_decoder_destroy(&created);
  }

  void ConfigDecoder() {
    Slot& slot = Pick(decoders);
    const int format = in.Byte() % 10, scale = scales[in.Byte() % scales.size()];
    const std::uint8_t kind = in.Byte();
    const Bytes raw = kind >= 250 ? Block() : Bytes();
    if (slot.users > 0) return;
    const Use use(slot.users);
    const Config config =
        Config().Int("PixelFormat", format).Int("ScaleDown", scale).Bool("SwapRGB", kind % 2 == 1);
    const ztlib_blob blob = kind >= 250 ? ztlib_blob{raw.data(), raw.size()} : config.Blob();
    const CallBudget budget(blob.size);
    ztlib_decoder_config(slot.handle, &blob);
  }

  void Decode() {
    Slot& decoder = Pick(decoders);
    Slot& image = Pick(images);
    Bytes frame = Block();
    if (decoder.users > 0 || image.users > 0) return;
    const ztlib_blob blob{frame.data(), frame.size()};
    const int video = ztlib_getVideoFormat(&blob);
    const bool isKnown = video == 0 || video == 3 || video == 4 || video == 7;
    if (!decoder.handle && !isKnown) return;  // ends the process
    const Use use(decoder.users), written(image.users);
    const CallBudget budget(frame.size() + WorthOf(image));
    ztlib_decoder_process(&decoder.handle, image.handle, frame.data(),
                          static_cast<std::uint32_t>(frame.size()));
  }

  void SetBase() {
    Slot& decoder = Pick(decoders);
    Slot& image = Pick(images);
    if (decoder.users > 0 || image.users > 0) return;
    const Use use(decoder.users), read(image.readers);
    const CallBudget budget(WorthOf(image));
    ztlib_decoder_setBaseImage(decoder.handle, image.handle);
  }

  void NewEncoder() {
    EncoderSlot& slot = Pick(encoders);
    const int video = Video(in.Byte());
    if (slot.users > 0) return;
    const Use use(slot.users);
    ztlib_encoder_destroy(&slot.handle);
    slot.handle = ztlib_encoder_create(video);
    slot.video = video;
    slot.isConfigured = false;
    slot.width = slot.height = 0;
  }

  void ConfigEncoder() {
    EncoderSlot& slot = Pick(encoders);
    const int width = Side(), height = Side();
    const std::uint8_t choice = in.Byte();
    if (slot.users > 0 || std::int64_t{width} * height > screen) return;
    const Use use(slot.users);
    const Config config = Config()
                              .Int("Width", width)
                              .Int("Height", height)
                              .Int("JPEGQuality", choice)
                              .Int("IFrameInterval", choice % 7)
                              .Int("RPFrameInterval", choice % 5)
                              .Int("IVPixelSensitivity", choice % 32)
                              .Bool("AdvancedProfile", choice % 2 == 1)
                              .Bool("GenerateOutOfOrderIFrames", choice % 3 == 1)
                              .Int("Bits", choice % 33);
    const CallBudget budget(4 * WatchedBytes(width, height));
    failed = false;
    kit::Apply(config, ztlib_encoder_config, slot.handle);
    if (failed) return;
    slot.isConfigured = slot.handle != nullptr;
    slot.width = width;
    slot.height = height;
  }

  void Encode() {
    EncoderSlot& encoder = Pick(encoders);
    Slot& image = Pick(images);
    Bytes& target = Pick(blocks);
    const std::uint8_t key = in.Byte() % 4 == 0;
    if (encoder.users > 0 || image.users > 0) return;
    const Picture p = PictureOf(image);
    if (encoder.video == ZTLIB_VIDEO_MJPEGDIFF && encoder.isConfigured && image.handle &&
        ztlib_ztimage_get_avframe(image.handle) &&
        (p.width != encoder.width || p.height != encoder.height || p.width % 8 != 0 ||
         p.height % 8 != 0))
      return;  // ends the process
    const Use use(encoder.users), read(image.readers);
    if (!Spend(std::int64_t{p.width} * p.height)) return;
    const CallBudget budget(WorthOf(image) + 4 * WatchedBytes(encoder.width, encoder.height));
    Bytes frame;
    ztlib_encoder_process(encoder.handle, &frame, Receive, image.handle, key);
    target = std::move(frame);
  }

  void LookAtFrame() {
    const Bytes frame = Block();
    const ztlib_blob blob{frame.data(), frame.size()};
    Bytes payload;
    const CallBudget budget(frame.size());
    std::int32_t first[6] = {}, second[6] = {};
    const void* at = nullptr;
    std::uint32_t size = 0;
    const bool isCalm = plan.empty();
    ztlib_getFrameInfo1(&blob, &first[0], &first[1], &first[2], &first[3], &first[4], &first[5],
                        &payload, Receive);
    ztlib_getFrameInfo2(frame.data(), static_cast<std::uint32_t>(frame.size()), &second[0],
                        &second[1], &second[2], &second[3], &second[4], &second[5], &at, &size);
    if (isCalm) {
      Require(std::ranges::equal(first, second) && payload.size() == size);
      Require(size == 0 || std::memcmp(at, payload.data(), size) == 0);
    }
    std::uint32_t sizes[4] = {};
    const int layers = ztlib_getLayerCount(&blob);
    ztlib_getLayerSizes(&blob, sizes);
    Require(layers == 4 || (layers == 0 && sizes[0] + sizes[1] + sizes[2] + sizes[3] == 0));
  }

  void Layers() {
    const Bytes frame = Block();
    const std::size_t count = in.Byte() % 6;
    Bytes& target = Pick(blocks);
    std::array<Bytes, 4> records;
    {
      const CallBudget budget(frame.size());
      const ztlib_blob blob{frame.data(), frame.size()};
      void* users[4] = {&records[0], &records[1], &records[2], &records[3]};
      ztlib_decomposeToLayers(&blob, users, Receive);
    }
    std::size_t worth = 0;
    for (Bytes& record : records) {
      Change(in, record, in.Byte() % 2);
      worth += record.size();
    }
    ztlib_blob blobs[5] = {};
    const ztlib_blob* pointers[5] = {};
    for (std::size_t i = 0; i < 4; ++i) {
      blobs[i] = {records[i].data(), records[i].size()};
      pointers[i] = &blobs[i];
    }
    const CallBudget budget(worth);
    Bytes joined;
    ztlib_composeFromLayers(&joined, Receive, pointers, static_cast<std::int32_t>(count) - 1);
    target = std::move(joined);
  }

  void AddHeader() {
    const Bytes jpeg = Block();
    Bytes& target = Pick(blocks);
    const CallBudget budget(jpeg.size());
    Bytes frame;
    ztlib_copyAndAddHeader(&frame, Receive, jpeg.data(), static_cast<std::uint32_t>(jpeg.size()));
    target = std::move(frame);
  }

  void NewMotion() {
    Slot& slot = Pick(motions);
    if (slot.users > 0) return;
    ztlib_simplemotion_destroy(std::exchange(slot.handle, nullptr));
    slot.handle = ztlib_simplemotion_create();
  }

  void ConfigMotion() {
    Slot& slot = Pick(motions);
    const int width = Side(), height = Side();
    const std::uint8_t choice = in.Byte();
    const Bytes raw = choice >= 240 ? Block() : Bytes();
    if (slot.users > 0 || std::int64_t{width} * height > screen / 16) return;
    const Use use(slot.users);
    Config detectors;
    for (int i = 0; i < choice % 4; ++i)
      detectors.Child("", Config()
                              .Double("Sensitivity", choice)
                              .Bool("BinaryOutputMode", choice % 3 == 0)
                              .Bool("HighVarianceReduction", choice % 5 == 0)
                              .Bool("MeltinReduction", choice % 7 == 0)
                              .Child("Masks", Config().Shorts("", {0, 0, 9000, 99, 8000, 16384})));
    const Config config = Config()
                              .Long("ViolationTimeMs", choice * 9)
                              .Bool("GenerateMetadata", choice % 2 == 0)
                              .Child("Configs", detectors);
    const ztlib_blob blob = choice >= 240 ? ztlib_blob{raw.data(), raw.size()} : config.Blob();
    const CallBudget budget(blob.size + 4 * WatchedBytes(width, height));
    ztlib_simplemotion_configure(slot.handle, &blob, width, height);
  }

  void Detect() {
    Slot& slot = Pick(motions);
    Slot& image = Pick(images);
    const auto time = in.Take<std::uint16_t>() * std::int64_t{40};
    const int times = in.Byte() % 40;
    if (slot.users > 0 || image.users > 0) return;
    const Picture p = PictureOf(image);
    if (std::int64_t{p.width} * p.height > screen / 16) return;
    const Use use(slot.users), read(image.readers);
    for (int i = 0; i < times && Spend(8 * std::int64_t{p.width} * p.height); ++i) {
      const CallBudget budget(4 * WatchedBytes(p.width, p.height));
      Bytes result;
      ztlib_simplemotion_detect(slot.handle, &result, i % 8 == 7 ? nullptr : Receive, image.handle,
                                time + i * std::int64_t{99});
    }
  }

  void NewMesh() {
    Slot& slot = Pick(meshes);
    const bool isNew = in.Byte() % 2 == 0;
    const int x = Side(), y = Side(), right = Side(), bottom = Side();
    if (isNew) {
      ztlib_triangulation_destroy(slot.handle);
      slot.handle = ztlib_triangulation_create();
    }
    ztlib_triangulation_init(slot.handle, x, y, right, bottom, in.Byte() % 9 - 1);
  }
  void AddPoints() {
    Slot& slot = Pick(meshes);
    const float values[] = {1, -2, 3.5F, 1e30F, 0, -0.0F, 7, 8};
    for (int count = in.Byte() % 12; count > 0; --count) {
      const int x = Side(), y = Side();
      ztlib_triangulation_addPoint(slot.handle, x + count, y, count == 7 ? nullptr : values,
                                   in.Byte() % 10 - 1);
    }
    if (in.Byte() % 2 == 0) ztlib_triangulation_finalize(slot.handle);
  }
  void Estimate() {
    float values[16] = {};
    Slot& slot = Pick(meshes);
    const int x = Side(), y = Side();
    ztlib_triangulation_estimate(slot.handle, x, y, values, in.Byte() % 18 - 1);
  }

  void Numbers() {
    const auto a = in.Take<std::int32_t>(), b = in.Take<std::int32_t>(),
               c = in.Take<std::int32_t>();
    ztlib_getPixelXByVirtualX(a, b);
    ztlib_getPixelYByVirtualY(a, b);
    ztlib_getVirtualXByPixelX(a, b);
    ztlib_getVirtualYByPixelY(a, b);
    Require(ztlib_getScaleDownByPixel1(a, b, c) >= 0);
    Require(ztlib_getScaleDownByPixel3(a, in.Byte() % 10, b, c) >= 0);
    std::int16_t block[65];
    for (std::int16_t& coefficient : block)
      coefficient = in.Take<std::int16_t>();
    idct8x8_mmx(block + 1);
  }

  void Registrations() {
    switch (in.Byte() % 3) {
      case 0:
        ztlib_registerAVFrameMgr(nullptr, nullptr, nullptr, 1);
        break;
      case 1: {
        ztlib_registerExceptionHandler(nullptr);
        const int missing = ztlib_getScaleDownByPixel3(1, 99, 1, 1);
        ztlib_registerExceptionHandler(HandleException);
        Require(missing == 0);
        break;
      }
      default:
        endsContext = true;
    }
  }

  static inline ClumsyClient* self = nullptr;

  Input in;
  Bytes plan;  // the next behaviour last
  int depth = 0;
  bool failed = false, endsContext = false;
  std::map<const void*, Picture> pictures;  // of the frames that the library has
  std::array<Slot, 6> images;
  std::array<Slot, 3> decoders;
  std::array<EncoderSlot, 3> encoders;
  std::array<Slot, 2> motions, meshes;
  std::array<Bytes, 6> blocks;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool isRegistered = [] {
    SoundFrames();  // by another frame manager than the client's
    ztlib_context_create();
    ztlib_registerLogger(ClumsyClient::Log);
    return true;
  }();
  (void)isRegistered;
  const bool endsContext = ClumsyClient({data, size}).Run();
  // These are the client's last call and the first ones of its next life. The end of a context
  // prints a line for each one before it, so a process has only some lives.
  static int lives = 50;
  if (endsContext && lives-- > 0) {
    ztlib_context_destroy();
    ztlib_context_create();
    ztlib_registerLogger(ClumsyClient::Log);
  }
  return 0;
}
