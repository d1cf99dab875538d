/**
 * ztlib for C++17 - owning handles, typed settings and results, exceptions.
 *
 * Everything here is inline and calls ztlib.h, which tells what each call does; only what differs is
 * told again. Nothing is copied that the C call does not copy.
 *
 *   ztlib::Session session;                                     // first, and destroyed last
 *   ztlib::Decoder decoder({ZTLIB_RGB});
 *   const ztlib::Frame& picture = decoder.Decode(bytes).FrameAs();
 *   Show(picture.data[0], picture.width, picture.height);       // 4 bytes a pixel, no padding
 *
 * Failures
 *   A call that fails throws ztlib::Error with the library's text, on the thread of the call, as long
 *   as there is a Session. What a callable throws that receives a result comes out of the call as it
 *   was thrown. Destructors never throw.
 *
 * Ownership
 *   All objects own their handle and can be moved, not copied. A moved-from object may only be
 *   assigned to or destroyed. A ByteView shows bytes of others and owns nothing.
 *
 * Threads
 *   An object belongs to one thread at a time, but for Encoder::Encode and FramePool, which any
 *   number of threads may use. Different objects are independent of each other.
 *   A thread must not be cancelled, nor end itself, in a callable that receives a result.
 */
#ifndef ZTLIB_HPP
#define ZTLIB_HPP

#include "ztlib.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace ztlib {

/** A call that failed; what() is the library's text. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/* ------------------------------------------------------------------------------------------------
 * Bytes
 * --------------------------------------------------------------------------------------------- */

/** Bytes of somebody else, of any container with data() and size(). */
template <class T>
class Span {
 public:
  constexpr Span() = default;
  constexpr Span(T* data, std::size_t size) : first(data), count(size) {}
  template <class Container,
            class = std::enable_if_t<std::is_convertible_v<
                std::remove_pointer_t<decltype(std::declval<Container&>().data())> (*)[], T (*)[]>>>
  constexpr Span(Container&& container) : first(container.data()), count(container.size()) {}

  [[nodiscard]] constexpr T* data() const { return first; }
  [[nodiscard]] constexpr std::size_t size() const { return count; }
  [[nodiscard]] constexpr bool empty() const { return count == 0; }
  [[nodiscard]] constexpr T* begin() const { return first; }
  [[nodiscard]] constexpr T* end() const { return first + count; }
  constexpr T& operator[](std::size_t index) const { return first[index]; }

  /** The part from `offset` on, of at most `size` elements; empty behind the end. */
  [[nodiscard]] constexpr Span Sub(std::size_t offset, std::size_t size = SIZE_MAX) const {
    const std::size_t start = offset < count ? offset : count;
    return {first + start, size < count - start ? size : count - start};
  }

 private:
  T* first = nullptr;
  std::size_t count = 0;
};
using ByteView = Span<const std::uint8_t>;
using MutableBytes = Span<std::uint8_t>;
using Bytes = std::vector<std::uint8_t>;

/** A number of up to eight bytes, stored in little-endian order. */
[[nodiscard]] constexpr std::uint64_t LittleEndian(ByteView bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes.size() && i < 8; ++i)
    number |= std::uint64_t{bytes[i]} << 8 * i;
  return number;
}

/* ------------------------------------------------------------------------------------------------
 * Inside
 * --------------------------------------------------------------------------------------------- */

namespace detail {

/** What goes wrong in one call. Calls of callbacks stand inside the one around them. */
class Call {
 public:
  Call() noexcept : outer(Current()) { Current() = this; }
  ~Call() { Current() = outer; }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  /** Throws what has happened. */
  void Check() const {
    if (thrown) std::rethrow_exception(thrown);
    if (hasFailed) throw Error(text.empty() ? "a call of ztlib failed" : text);
  }
  /** Takes what a callable has thrown: no exception crosses the C interface. */
  void Keep(std::exception_ptr exception) noexcept {
    if (!thrown) thrown = std::move(exception);
  }

  /** The exception handler: the first text of a call counts. */
  static void OnFailure(const char* what) noexcept {
    Call* const call = Current();
    if (!call || call->hasFailed) return;
    call->hasFailed = true;
    try {
      call->text = what;
    } catch (...) {  // a failure without a text then
    }
  }

 private:
  static Call*& Current() noexcept {
    static thread_local Call* current = nullptr;
    return current;
  }

  Call* outer;
  bool hasFailed = false;
  std::string text;
  std::exception_ptr thrown;
};

/** Runs a call and throws if it failed. */
template <class Function>
auto Checked(Function&& function) {
  const Call call;
  if constexpr (std::is_void_v<decltype(function())>) {
    function();
    call.Check();
  } else {
    const auto result = function();
    call.Check();
    return result;
  }
}

/** Hands the outputs of a call to a callable of a ByteView. */
template <class Sink>
struct Receiver {
  Call& call;
  Sink& sink;

  static void Receive(void* user, const void* data, std::uint32_t size) {
    const auto& receiver = *static_cast<Receiver*>(user);
    try {
      receiver.sink(ByteView{static_cast<const std::uint8_t*>(data), size});
    } catch (...) {
      receiver.call.Keep(std::current_exception());
    }
  }
};
/** `function(user, out)` makes the call. */
template <class Sink, class Function>
auto CheckedOutput(Sink&& sink, Function&& function) {
  Call call;
  Receiver<std::remove_reference_t<Sink>> receiver{call, sink};
  const ztlib_output out = &Receiver<std::remove_reference_t<Sink>>::Receive;
  if constexpr (std::is_void_v<decltype(function(nullptr, out))>) {
    function(static_cast<void*>(&receiver), out);
    call.Check();
  } else {
    const auto result = function(static_cast<void*>(&receiver), out);
    call.Check();
    return result;
  }
}

/** A sink that keeps the bytes; the vector keeps its memory from call to call. */
inline auto StoreIn(Bytes& bytes) {
  return [&bytes](ByteView data) { bytes.assign(data.begin(), data.end()); };
}

inline ztlib_blob Blob(ByteView bytes) {
  return {bytes.data(), bytes.size()};
}

template <void (*destroy)(void*)>
struct Destroyer {
  void operator()(void* handle) const { destroy(handle); }
};
inline void DestroyDecoder(void* handle) {
  ztlib_decoder_destroy(&handle);
}
inline void DestroyEncoder(void* handle) {
  ztlib_encoder_destroy(&handle);
}
template <void (*destroy)(void*)>
using Handle = std::unique_ptr<void, Destroyer<destroy>>;

template <class Create>
void* Created(Create&& create, const char* what) {
  void* const handle = Checked(create);
  if (!handle) throw Error(std::string("no ") + what);
  return handle;
}

}  // namespace detail

/* ------------------------------------------------------------------------------------------------
 * Frames: the memory of all pictures
 * --------------------------------------------------------------------------------------------- */

/** How many bytes a picture has; `width` and `height` are the pixels of a sample. */
struct SampleShape {
  int width, height, bytes;
};

/** Null for what is no pixel format. */
[[nodiscard]] inline const SampleShape* ShapeOf(int pixelFormat) {
  static constexpr SampleShape shapes[] = {{1, 1, 1}, {1, 1, 1}, {1, 1, 4}, {1, 1, 4},    {2, 1, 4},
                                           {2, 1, 4}, {1, 1, 1}, {2, 2, 4}, {16, 16, 384}};
  return pixelFormat >= ZTLIB_BOOL8 && pixelFormat <= ZTLIB_YUV420BLOCK ? &shapes[pixelFormat]
                                                                        : nullptr;
}

/** A picture to be made: its size in pixels, and its rows of samples without padding. */
struct PictureShape {
  int width, height;
  ztlib_pixel_format pixelFormat;
  std::size_t rowBytes, rows;

  [[nodiscard]] std::size_t Size() const { return rowBytes * rows; }
};

/** The largest picture that a pool makes: a hostile frame cannot ask for more. */
inline constexpr std::uint64_t maxPictureBytes = std::uint64_t{1} << 29;

/** Nothing for a picture without a sample, and for one that is too large. */
[[nodiscard]] inline std::optional<PictureShape> ShapeOfPicture(int width, int height,
                                                                int pixelFormat) {
  const SampleShape* const sample = ShapeOf(pixelFormat);
  if (!sample || width <= 0 || height <= 0) return std::nullopt;
  const std::uint64_t row =
      std::uint64_t(width / sample->width) * static_cast<std::uint64_t>(sample->bytes);
  const std::uint64_t rows = std::uint64_t(height / sample->height);
  if (row * rows == 0 || row * rows > maxPictureBytes) return std::nullopt;
  return PictureShape{width, height, static_cast<ztlib_pixel_format>(pixelFormat),
                      static_cast<std::size_t>(row), static_cast<std::size_t>(rows)};
}

/** A frame of FramePool. It begins as FFmpeg's AVFrame does; rows have no padding. */
struct Frame {
  std::uint8_t* data[8] = {};    /**< the picture is data[0] */
  std::int32_t linesize[8] = {}; /**< bytes of a row of samples */
  std::uint8_t** extendedData = nullptr;
  std::int32_t width = 0, height = 0; /**< in pixels */
  std::int32_t soundSamples = 0;
  std::int32_t format = -1; /**< FFmpeg's number, which is not told */
  ztlib_pixel_format pixelFormat = ZTLIB_BOOL8;
  std::size_t size = 0; /**< of the picture in bytes */
  std::unique_ptr<std::uint8_t[]> memory;

  [[nodiscard]] MutableBytes Picture() const { return {data[0], size}; }
};
static_assert(offsetof(Frame, linesize) == 64 && offsetof(Frame, width) == 104 &&
              offsetof(Frame, height) == 108 && offsetof(Frame, format) == 116);

/** Makes the frames of FramePool. */
struct PlainFrames {
  using Frame = ztlib::Frame;

  static Frame* Make(const PictureShape& shape) {
    auto frame = std::make_unique<Frame>();
    frame->memory = std::make_unique<std::uint8_t[]>(shape.Size());
    frame->data[0] = frame->memory.get();
    frame->linesize[0] = static_cast<std::int32_t>(shape.rowBytes);
    frame->width = shape.width;
    frame->height = shape.height;
    frame->pixelFormat = shape.pixelFormat;
    frame->size = shape.Size();
    return frame.release();
  }
  static void Destroy(Frame* frame) { delete frame; }
  static bool HasShape(const Frame& frame, const PictureShape& shape) {
    return frame.width == shape.width && frame.height == shape.height &&
           frame.pixelFormat == shape.pixelFormat;
  }
  static bool IsUnused(Frame&) { return true; }
};

/**
 * The frame manager. A frame that comes back is kept with its memory and given out again for the
 * next picture of that shape, so that a running stream allocates nothing. There is one pool for each
 * `Maker`, because the library's callbacks know no object; it is for all threads and lives as long
 * as the process.
 *
 * A `Maker` of other records, such as FFmpeg's own, has the members of PlainFrames: Make returns a
 * zeroed picture, or null or throws without memory; HasShape tells whether a frame fits; IsUnused is
 * asked when a frame comes back, and one that somebody else still looks at is not given out again.
 */
template <class Maker>
class BasicFramePool {
 public:
  using Frame = typename Maker::Frame;
  struct Releaser {
    void operator()(Frame* frame) const { Release(frame); }
  };
  /** A frame to be filled, which becomes an Image or goes back to the pool. */
  using Pointer = std::unique_ptr<Frame, Releaser>;

  /** Throws std::bad_alloc for a picture that the pool refuses: see Allocate. */
  [[nodiscard]] static Pointer New(int width, int height, ztlib_pixel_format pixelFormat) {
    Pointer frame(Allocate(width, height, pixelFormat));
    if (!frame) throw std::bad_alloc();
    return frame;
  }

  /**
   * Whether frames that were used before are zeroed when they are given out again. It is so unless
   * a client switches it off: then pixels that a damaged frame does not cover may show a picture of
   * another camera.
   */
  static void ClearFrames(bool isCleared) {
    const std::lock_guard<std::mutex> lock(Pool().mutex);
    Pool().isCleared = isCleared;
  }
  /** How many frames without a use are kept, 32 at first; the oldest go. 0 frees them all. */
  static void KeepIdle(std::size_t frames) {
    const std::lock_guard<std::mutex> lock(Pool().mutex);
    std::vector<Frame*>& idle = Pool().idle;
    idle.reserve(frames + 1);
    Pool().mostIdle = frames;
    for (; idle.size() > frames; idle.erase(idle.begin()))
      Maker::Destroy(idle.front());
  }

  /** A ztlib_frame_allocate; null for no pixel format, no sample, more than maxPictureBytes. */
  static Frame* Allocate(int width, int height, int pixelFormat) noexcept {
    const std::optional<PictureShape> shape = ShapeOfPicture(width, height, pixelFormat);
    if (!shape) return nullptr;
    try {
      bool isCleared = true;
      if (Frame* const used = Pool().Take(*shape, isCleared)) {
        if (isCleared) std::memset(used->data[0], 0, shape->Size());
        return used;
      }
      return Maker::Make(*shape);
    } catch (...) {  // std::bad_alloc
      return nullptr;
    }
  }
  /** A ztlib_frame_release; null is allowed. */
  static void Release(Frame* frame) noexcept {
    if (!frame) return;
    if (Maker::IsUnused(*frame)) frame = Pool().Exchange(frame);
    if (frame) Maker::Destroy(frame);
  }

 private:
  struct Idle {
    std::mutex mutex;
    std::vector<Frame*> idle;  // oldest first
    std::size_t mostIdle = 32;
    bool isCleared = true;

    Idle() { idle.reserve(mostIdle + 1); }
    ~Idle() {
      for (Frame* const frame : idle)
        Maker::Destroy(frame);
    }
    Idle(const Idle&) = delete;
    Idle& operator=(const Idle&) = delete;

    Frame* Take(const PictureShape& shape, bool& isToBeCleared) {
      const std::lock_guard<std::mutex> lock(mutex);
      isToBeCleared = isCleared;
      // The newest is the likeliest to be in a cache.
      const auto found = std::find_if(idle.rbegin(), idle.rend(), [&](const Frame* frame) {
        return Maker::HasShape(*frame, shape);
      });
      if (found == idle.rend()) return nullptr;
      Frame* const frame = *found;
      idle.erase(std::next(found).base());
      return frame;
    }
    // Keeps a frame and returns one that is too many, or null.
    Frame* Exchange(Frame* frame) {
      const std::lock_guard<std::mutex> lock(mutex);
      idle.push_back(frame);
      if (idle.size() <= mostIdle) return nullptr;
      frame = idle.front();
      idle.erase(idle.begin());
      return frame;
    }
  };
  static Idle& Pool() {
    static Idle pool;
    return pool;
  }
};

/** The frames of clients that have none of their own. */
using FramePool = BasicFramePool<PlainFrames>;

/** The callbacks of a frame manager: those of a pool, or a client's own. */
struct FrameManager {
  ztlib_frame_allocate allocate;
  ztlib_frame_release release;

  template <class Pool>
  static FrameManager Of() {
    return {[](int width, int height, int pixelFormat) -> void* {
              return Pool::Allocate(width, height, pixelFormat);
            },
            [](void* frame) { Pool::Release(static_cast<typename Pool::Frame*>(frame)); }};
  }
};

/* ------------------------------------------------------------------------------------------------
 * Session
 * --------------------------------------------------------------------------------------------- */

/**
 * A client's life with the library: frame manager, context, logger and exception handler first, the
 * end of the context last. One at a time, made before other threads start and destroyed after they
 * have ended; all objects below live inside. Its end writes a line to standard output for each
 * service that it deletes.
 */
class Session {
 public:
  /** Throws std::bad_alloc. `logger` may be null. */
  explicit Session(ztlib_logger logger = nullptr,
                   const FrameManager& frames = FrameManager::Of<FramePool>()) {
    ztlib_registerAVFrameMgr(frames.allocate, frames.release, nullptr, 0);
    ztlib_context_create();
    if (logger) ztlib_registerLogger(logger);
    ztlib_registerExceptionHandler(detail::Call::OnFailure);
  }
  ~Session() {
    ztlib_registerExceptionHandler(nullptr);
    ztlib_context_destroy();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
};

/* ------------------------------------------------------------------------------------------------
 * Trees in the tagged form: configurations and results
 * --------------------------------------------------------------------------------------------- */

/**
 * Writes a tree. Elements keep their order and names may repeat; an element of a list has the name
 * "". A name of more than 127 bytes, which nothing could read back, throws std::length_error.
 *
 *   const ztlib::TreeWriter area = ztlib::TreeWriter().Double("Sensitivity", 80);
 *   ztlib::TreeWriter().Child("Configs", ztlib::TreeWriter().Child("", area)).Bytes();
 */
class TreeWriter {
 public:
  static constexpr std::size_t maxNameSize = 127;

  TreeWriter& Bool(std::string_view name, bool value) { return Number('B', name, value, 1); }
  TreeWriter& Short(std::string_view name, std::int16_t value) {
    return Number('2', name, static_cast<std::uint16_t>(value), 2);
  }
  TreeWriter& Int(std::string_view name, std::int32_t value) {
    return Number('I', name, static_cast<std::uint32_t>(value), 4);
  }
  TreeWriter& Long(std::string_view name, std::int64_t value) {
    return Number('Q', name, static_cast<std::uint64_t>(value), 8);
  }
  TreeWriter& Double(std::string_view name, double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return Number('F', name, bits, 8);
  }
  TreeWriter& Text(std::string_view name, std::string_view text) { return Raw('S', name, text); }
  /** A list of 16-bit numbers; polygons are such lists, with x and y in turn. */
  template <class Numbers = std::initializer_list<std::int16_t>>
  TreeWriter& Shorts(std::string_view name, const Numbers& values) {
    std::string bytes = "2";
    for (const std::int16_t value : values)
      Append(bytes, static_cast<std::uint16_t>(value), 2);
    return Raw('*', name, bytes);
  }
  /** Adds a copy of `child` as it is now. */
  TreeWriter& Child(std::string_view name, const TreeWriter& child) {
    return Raw('@', name, child.block);
  }
  /** Any tag, with the value as it stands in the block; docs/formats.md has the tags. */
  TreeWriter& Raw(char tag, std::string_view name, std::string_view value) {
    if (name.size() > maxNameSize) throw std::length_error("name of a tree element");
    block.pop_back();
    block += tag;
    block += static_cast<char>(name.size());
    block += name;
    Append(block, value.size(), 4);
    block += value;
    block += '\0';
    return *this;
  }

  /** The block, valid until the object changes or dies. */
  [[nodiscard]] ByteView Bytes() const {
    return {reinterpret_cast<const std::uint8_t*>(block.data()), block.size()};
  }
  /** The same for calls of ztlib.h. */
  [[nodiscard]] ztlib_blob Blob() const { return detail::Blob(Bytes()); }

  /** Appends the lowest `size` bytes of a number as blocks hold it. */
  static void Append(std::string& bytes, std::uint64_t value, int size) {
    for (int i = 0; i < size; ++i)
      bytes += static_cast<char>(value >> 8 * i & 0xFF);
  }

 private:
  TreeWriter& Number(char tag, std::string_view name, std::uint64_t value, int size) {
    std::string bytes;
    Append(bytes, value, size);
    return Raw(tag, name, bytes);
  }

  std::string block = std::string(1, '\0');  // ends with the end of the root
};

/** One element of a tree, as it stands in the block. */
struct TreeElement {
  char tag = 0;
  char subtype = 0; /**< of '*': '1' for bytes, '2' for 16-bit numbers */
  std::string_view name;
  ByteView value;    /**< without the subtype of '*' and the metadata of 'X' */
  ByteView metadata; /**< of 'X' */

  /** Of a 'B', '1', '2', 'I', 'Q' or 'T'. */
  [[nodiscard]] std::int64_t Integer() const {
    const auto bits = static_cast<unsigned>(64 - 8 * std::min<std::size_t>(value.size(), 8));
    const std::uint64_t number = LittleEndian(value);
    if (bits == 0 || bits == 64 || tag == 'B' || tag == '1')
      return static_cast<std::int64_t>(number);
    return static_cast<std::int64_t>(number << bits) >> bits;
  }
  /** Of an 'F'. */
  [[nodiscard]] double Double() const {
    const std::uint64_t bits = LittleEndian(value);
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
  }
  /** Of an 'S'. */
  [[nodiscard]] std::string_view Text() const {
    return {reinterpret_cast<const char*>(value.data()), value.size()};
  }
};

/** The deepest tree that the library reads; who descends into nodes stops there as well. */
inline constexpr int maxTreeDepth = 256;

/**
 * Walks over the elements of one node. A block is a node, and so is the value of an '@'. The bytes
 * may come from anywhere: what is no element ends the walk, as it does in the library.
 */
class TreeReader {
 public:
  explicit TreeReader(ByteView node) : rest(node) {}

  /** The next element, nothing at the end. */
  [[nodiscard]] std::optional<TreeElement> Next() {
    // The zero at the end may be any byte, or missing.
    if (isDamaged || rest.empty() || rest[0] == 0 || (!isAtStart && rest.size() == 1))
      return std::nullopt;
    const std::optional<Parts> parts = Split(rest);
    std::optional<TreeElement> element;
    if (parts) element = Checked(*parts);
    isDamaged = !element;
    if (element) rest = rest.Sub(parts->size);
    isAtStart = false;
    return element;
  }
  /** Whether the walk has ended at something that is no element; Rest() then begins with it. */
  [[nodiscard]] bool IsDamaged() const { return isDamaged; }
  [[nodiscard]] ByteView Rest() const { return rest; }

 private:
  struct Parts {
    char tag;
    std::string_view name;
    ByteView value;
    std::size_t size;  // of the whole element
  };

  static constexpr std::size_t maxPlainSize = 0x1000000;  // of all values but nodes and binaries

  static std::optional<Parts> Split(ByteView bytes) {
    if (bytes.size() < 2 || bytes[1] > TreeWriter::maxNameSize) return std::nullopt;
    const std::size_t start = std::size_t{6} + bytes[1];
    if (bytes.size() < start) return std::nullopt;
    const auto size = static_cast<std::size_t>(LittleEndian(bytes.Sub(start - 4, 4)));
    if (size > bytes.size() - start) return std::nullopt;
    return Parts{static_cast<char>(bytes[0]),
                 {reinterpret_cast<const char*>(bytes.data()) + 2, bytes[1]},
                 bytes.Sub(start, size),
                 start + size};
  }

  // Whether there is the tag, and its values have that size.
  static bool IsSound(char tag, std::size_t size) {
    switch (tag) {
      case 'B':
      case '1':
        return size == 1;
      case '2':
        return size == 2;
      case 'I':
        return size == 4;
      case 'Q':
      case 'F':
      case 'T':
        return size == 8;
      case 'G':
        return size == 16;
      default:
        return std::string_view("SW*X@").find(tag) != std::string_view::npos;
    }
  }

  // The size of a node whose elements may have any tags, its zero included; 0 if it has no end.
  static std::size_t MetadataSize(ByteView value) {
    for (std::size_t at = 0; at < value.size();) {
      if (value[at] == 0) return at + 1;
      const std::optional<Parts> parts = Split(value.Sub(at));
      if (!parts) return 0;
      at += parts->size;
    }
    return 0;
  }

  static std::optional<TreeElement> Checked(const Parts& parts) {
    if (!IsSound(parts.tag, parts.value.size())) return std::nullopt;
    TreeElement element{parts.tag, 0, parts.name, parts.value, {}};
    if (parts.tag == '@') return element;
    if (parts.tag == 'X') {
      const std::size_t metadata = MetadataSize(parts.value);
      if (metadata == 0) return std::nullopt;
      element.metadata = parts.value.Sub(0, metadata);
      element.value = parts.value.Sub(metadata);
      return element;
    }
    if (parts.value.size() > maxPlainSize) return std::nullopt;
    if (parts.tag == '*') {
      if (parts.value.empty() || (parts.value[0] != '1' && parts.value[0] != '2'))
        return std::nullopt;
      element.subtype = static_cast<char>(parts.value[0]);
      element.value = parts.value.Sub(1);
    }
    if (parts.tag == 'W' || element.subtype == '2')
      element.value = element.value.Sub(0, element.value.size() / 2 * 2);
    return element;
  }

  ByteView rest;
  bool isAtStart = true, isDamaged = false;
};

/** The first element of that name, which is the one that counts. Nothing if it has another tag. */
[[nodiscard]] inline std::optional<TreeElement> Find(ByteView node, std::string_view name,
                                                     char tag) {
  TreeReader reader(node);
  while (const std::optional<TreeElement> element = reader.Next())
    if (element->name == name) return element->tag == tag ? element : std::nullopt;
  return std::nullopt;
}

/* ------------------------------------------------------------------------------------------------
 * Images
 * --------------------------------------------------------------------------------------------- */

/** A picture of the library in a frame of the client. */
class Image {
 public:
  /** An image without a picture, which a decoder or Load gives one. */
  Image() : handle(detail::Created(ztlib_ztimage_create, "image")) {}

  /**
   * Shows a filled frame of the session's frame manager without a copy. The image owns the frame
   * from then on; after a failure it goes back as the pointer does it.
   */
  template <class Record, class Releaser>
  Image(ztlib_pixel_format pixelFormat, std::unique_ptr<Record, Releaser> frame)
      : handle(detail::Created(
            [&] { return ztlib_ztimage_create_avframe(pixelFormat, frame.get()); }, "image")) {
    static_cast<void>(frame.release());
  }

  [[nodiscard]] bool IsEmpty() const { return FrameAddress() == nullptr; }
  /** In pixels, whatever the frame manager's frames are; 0 without a picture. */
  [[nodiscard]] int Width() const { return FieldAt(104); }
  [[nodiscard]] int Height() const { return FieldAt(108); }

  /**
   * The frame behind the picture, owned by the image; `Record` is what the session's frame manager
   * makes. Valid until the image gets another picture. Throws Error if there is none.
   */
  template <class Record = Frame>
  [[nodiscard]] const Record& FrameAs() const {
    const void* const frame = FrameAddress();
    if (!frame) throw Error("the image has no picture");
    return *static_cast<const Record*>(frame);
  }

  /** Replaces the content of `block` by the picture as one self-contained block. */
  void Save(Bytes& block) const {
    detail::CheckedOutput(detail::StoreIn(block), [this](void* user, ztlib_output out) {
      ztlib_ztimage_saveToZTMem(handle.get(), user, out);
    });
  }
  /** Takes the picture of a saved block; after a failure the old one stays. */
  void Load(ByteView block) {
    const ztlib_blob blob = detail::Blob(block);
    detail::Checked([&] { return ztlib_ztimage_loadFromZTMem(handle.get(), &blob); });
  }

  /** For calls of ztlib.h; still owned by this object. */
  [[nodiscard]] void* Handle() const { return handle.get(); }

 private:
  [[nodiscard]] void* FrameAddress() const {
    return detail::Checked([this] { return ztlib_ztimage_get_avframe(handle.get()); });
  }

  [[nodiscard]] std::int32_t FieldAt(std::size_t offset) const {
    const auto* const frame = static_cast<const std::uint8_t*>(FrameAddress());
    std::int32_t field = 0;
    if (frame) std::memcpy(&field, frame + offset, sizeof field);
    return field;
  }

  detail::Handle<ztlib_ztimage_destroy> handle;
};

/* ------------------------------------------------------------------------------------------------
 * Coded frames
 * --------------------------------------------------------------------------------------------- */

/** Types of the frames of differential video. */
enum CodedFrameType : std::int32_t {
  keyFrame = 0,
  untoldFrame = 1, /**< as all of layered video; to be taken as plain */
  plainFrame = 3,
  differenceFrame = 4,
  referenceFrame = 5
};

/** What a coded frame tells about itself; nothing holds it to the truth. */
struct CodedFrame {
  std::int32_t videoFormat = 0; /**< a ztlib_video_format, or none */
  std::int32_t frameType = 0;   /**< a CodedFrameType in differential video */
  std::int32_t width = 0;       /**< in pixels, of the coded picture */
  std::int32_t height = 0;
  std::uint32_t origin = 0; /**< 1 a layer cut from a frame, 2 a wrapped JPEG file, 3 an encoder */
  std::uint32_t totalSize = 0; /**< of the frame in bytes, with the layers it once had */
  ByteView payload;            /**< what follows the header, inside the frame */

  /** Whether it needs frames before it. */
  [[nodiscard]] bool IsDifferential() const {
    return (videoFormat == ZTLIB_VIDEO_MJPEGDIFF || videoFormat == ZTLIB_VIDEO_LAYEREDDIFF) &&
           frameType != keyFrame && !IsLoneLayer();
  }
  /** One layer of a picture, without the others: it has no size, and no decoder takes it. */
  [[nodiscard]] bool IsLoneLayer() const {
    return origin == 1 &&
           (videoFormat == ZTLIB_VIDEO_LAYERED || videoFormat == ZTLIB_VIDEO_LAYEREDDIFF);
  }
  /** Whether there is a decoder of its video format. */
  [[nodiscard]] bool IsKnown() const {
    return videoFormat == ZTLIB_VIDEO_LAYERED || videoFormat == ZTLIB_VIDEO_MJPEG ||
           videoFormat == ZTLIB_VIDEO_LAYEREDDIFF || videoFormat == ZTLIB_VIDEO_MJPEGDIFF;
  }
};

/** Throws Error for less than 64 bytes. */
[[nodiscard]] inline CodedFrame ReadCodedFrame(ByteView frame) {
  CodedFrame coded;
  const void* payload = nullptr;
  std::uint32_t payloadSize = 0;
  detail::Checked([&] {
    ztlib_getFrameInfo2(frame.data(), static_cast<std::uint32_t>(frame.size()), &coded.width,
                        &coded.height, &coded.videoFormat, nullptr, nullptr, &coded.frameType,
                        &payload, &payloadSize);
  });
  coded.payload = {static_cast<const std::uint8_t*>(payload), payloadSize};
  coded.origin = static_cast<std::uint32_t>(LittleEndian(frame.Sub(0, 4)));
  coded.totalSize = static_cast<std::uint32_t>(LittleEndian(frame.Sub(4, 4)));
  if (coded.IsLoneLayer()) coded.width = coded.height = 0;
  return coded;
}

/** A JPEG file as a frame of plain MJPEG. */
[[nodiscard]] inline Bytes WrapJpeg(ByteView jpeg) {
  Bytes frame;
  detail::CheckedOutput(detail::StoreIn(frame), [&](void* user, ztlib_output out) {
    ztlib_copyAndAddHeader(user, out, jpeg.data(), static_cast<std::uint32_t>(jpeg.size()));
  });
  return frame;
}

/** Cuts a layered frame into the records of its four layers; throws Error for another format. */
[[nodiscard]] inline std::array<Bytes, 4> SplitLayers(ByteView frame) {
  std::array<Bytes, 4> records;
  std::array<void*, 4> users{};
  detail::Call call;
  struct Record {
    detail::Call& call;
    Bytes& bytes;
  };
  std::array<Record, 4> targets{
      {{call, records[0]}, {call, records[1]}, {call, records[2]}, {call, records[3]}}};
  for (std::size_t i = 0; i < users.size(); ++i)
    users[i] = &targets[i];
  const ztlib_blob blob = detail::Blob(frame);
  const std::int32_t count = ztlib_decomposeToLayers(
      &blob, users.data(), [](void* user, const void* data, std::uint32_t size) {
        const auto& record = *static_cast<Record*>(user);
        const auto* const bytes = static_cast<const std::uint8_t*>(data);
        try {
          record.bytes.assign(bytes, bytes + size);
        } catch (...) {
          record.call.Keep(std::current_exception());
        }
      });
  call.Check();
  if (count == 0) throw Error("no layered frame");
  return records;
}

/**
 * Makes one frame of the records of the first layers, 1 to 4 in their order. It has room behind
 * them. Empty if the first record is of a format without layers.
 */
[[nodiscard]] inline Bytes JoinLayers(Span<const Bytes> records) {
  std::vector<ztlib_blob> blobs;
  for (const Bytes& record : records)
    blobs.push_back(detail::Blob(record));
  std::vector<const ztlib_blob*> addresses(blobs.size() + 1);  // not null without records
  for (std::size_t i = 0; i < blobs.size(); ++i)
    addresses[i] = &blobs[i];
  Bytes frame;
  detail::CheckedOutput(detail::StoreIn(frame), [&](void* user, ztlib_output out) {
    ztlib_composeFromLayers(user, out, addresses.data(), static_cast<std::int32_t>(blobs.size()));
  });
  return frame;
}

/* ------------------------------------------------------------------------------------------------
 * Codecs
 * --------------------------------------------------------------------------------------------- */

struct DecoderSettings {
  ztlib_pixel_format pixelFormat = ZTLIB_RGB;
  int scaleDown = 1;    /**< divides both sides: 1, 2, 4 or 8 */
  bool swapRgb = false; /**< red before blue; not for layered video */
};

/** A decoder that follows the video format of the frames it gets. */
class Decoder {
 public:
  explicit Decoder(const DecoderSettings& decoderSettings = {}) : settings(decoderSettings) {}

  /** Sets what pictures become, differential ones from their next key frame on. */
  void Configure(const DecoderSettings& decoderSettings) {
    settings = decoderSettings;
    if (handle) Apply();
  }

  /**
   * Whether a frame has what it builds on: a differential frame needs a decoded key frame of its
   * size before it, or a base image.
   */
  [[nodiscard]] bool Accepts(const CodedFrame& frame) const {
    return !frame.IsDifferential() || isBaseGiven ||
           (frame.width == baseWidth && frame.height == baseHeight);
  }

  /**
   * The decoded picture, valid until the next call. The bytes are not copied, and those of
   * differential video are written to. Throws Error for a frame that cannot be decoded or that
   * builds on one that has not been; the next frame may be tried then.
   */
  const Image& Decode(MutableBytes frame) {
    const CodedFrame coded = ReadCodedFrame(frame);
    // The library would make a picture of whatever lies where a frame has its size.
    if (coded.IsLoneLayer()) throw Error("one layer of a picture, the others are missing");
    // The library would put a decoder of the frame's format behind the handle by itself, but one
    // without these settings.
    if (!handle || coded.videoFormat != present) Select(coded.videoFormat);
    if (!Accepts(coded)) throw Error("a differential frame without its key frame");
    const bool isKey = (coded.videoFormat == ZTLIB_VIDEO_MJPEGDIFF ||
                        coded.videoFormat == ZTLIB_VIDEO_LAYEREDDIFF) &&
                       !coded.IsDifferential();
    // Differential MJPEG is at a new scale only behind its next key frame.
    if (isKey && coded.videoFormat == ZTLIB_VIDEO_MJPEGDIFF && scaleInForce != settings.scaleDown) {
      Process(frame);
      scaleInForce = settings.scaleDown;
    }
    Process(frame);
    if (isKey) {
      baseWidth = coded.width;
      baseHeight = coded.height;
      isBaseGiven = false;
    }
    return picture;
  }

  /**
   * Gives differential MJPEG a picture to start from without a key frame (deep copy): of the pixel
   * format and the scaled size of the settings.
   */
  void SetBaseImage(const Image& base) {
    if (present != ZTLIB_VIDEO_MJPEGDIFF) Select(ZTLIB_VIDEO_MJPEGDIFF);
    detail::Checked([&] { ztlib_decoder_setBaseImage(handle.get(), base.Handle()); });
    isBaseGiven = true;
  }

 private:
  // Makes `handle` a configured decoder of that format.
  void Select(std::int32_t videoFormat) {
    handle.reset();
    present = -1;
    baseWidth = baseHeight = 0;
    isBaseGiven = false;
    scaleInForce = 1;
    handle.reset(detail::Checked([&] { return ztlib_decoder_create(videoFormat); }));
    if (!handle) throw Error("unknown video format " + std::to_string(videoFormat));
    Apply();
    present = videoFormat;
  }
  void Apply() {
    TreeWriter config;
    config.Int("ScaleDown", settings.scaleDown)
        .Int("PixelFormat", settings.pixelFormat)
        .Bool("SwapRGB", settings.swapRgb);
    const ztlib_blob block = config.Blob();
    detail::Checked([&] { ztlib_decoder_config(handle.get(), &block); });
  }
  void Process(MutableBytes frame) {
    detail::Checked([&] {
      void* decoder = handle.release();  // the call may put another one in its place
      ztlib_decoder_process(&decoder, picture.Handle(), frame.data(),
                            static_cast<std::uint32_t>(frame.size()));
      handle.reset(decoder);
    });
  }

  DecoderSettings settings;
  std::int32_t present = -1;  // video format of `handle`
  int scaleInForce = 1;
  int baseWidth = 0, baseHeight = 0;  // of the key frame that differential frames build on
  bool isBaseGiven = false;
  detail::Handle<detail::DestroyDecoder> handle;
  Image picture;
};

/**
 * Width and height are those of the pictures. What follows the quality is for differential video
 * alone, whose width is a multiple of 16 and height one of 8.
 */
struct EncoderSettings {
  ztlib_video_format videoFormat = ZTLIB_VIDEO_MJPEG; /**< ZTLIB_VIDEO_MJPEG or _MJPEGDIFF */
  int width = 0, height = 0;
  int quality = 75;
  int keyInterval = 60;        /**< frames */
  int referenceInterval = 4;   /**< frames */
  int sensitivity = 10;        /**< 0 to 20 */
  bool isAdvanced = false;     /**< difference frames in place of plain ones */
  bool hasOverflowKeys = true; /**< a key frame when more than 40 % of the blocks changed */
  int listBits = 6;
};

/** An encoder of plain or differential MJPEG. */
class Encoder {
 public:
  explicit Encoder(const EncoderSettings& encoderSettings) {
    handle.reset(
        detail::Checked([&] { return ztlib_encoder_create(encoderSettings.videoFormat); }));
    if (!handle)
      throw Error("no encoder for video format " + std::to_string(encoderSettings.videoFormat));
    Configure(encoderSettings);
  }

  /** The next frame is a key frame. After a failure the old settings hold. */
  void Configure(const EncoderSettings& encoderSettings) {
    const bool isDifferential = encoderSettings.videoFormat == ZTLIB_VIDEO_MJPEGDIFF;
    // The library ends the process at the first picture otherwise.
    if (isDifferential && (encoderSettings.width % 16 != 0 || encoderSettings.height % 8 != 0))
      throw Error("differential video has a width in steps of 16 and a height in steps of 8");
    TreeWriter config;
    config.Int("Width", encoderSettings.width)
        .Int("Height", encoderSettings.height)
        .Int("JPEGQuality", encoderSettings.quality);
    if (isDifferential)
      config.Int("IFrameInterval", encoderSettings.keyInterval)
          .Int("RPFrameInterval", encoderSettings.referenceInterval)
          .Int("IVPixelSensitivity", encoderSettings.sensitivity)
          .Bool("AdvancedProfile", encoderSettings.isAdvanced)
          .Bool("GenerateOutOfOrderIFrames", encoderSettings.hasOverflowKeys)
          .Int("Bits", encoderSettings.listBits);
    const ztlib_blob block = config.Blob();
    detail::Checked([&] { ztlib_encoder_config(handle.get(), &block); });
    settings = encoderSettings;
  }

  /**
   * Hands the coded frame, header included, to `sink(ByteView)` once; it is valid during that call.
   * The picture converts to ZTLIB_YUV and has the configured size: any other size throws Error.
   */
  template <class Sink>
  void Encode(const Image& image, Sink&& sink, bool isKey = false) const {
    // The library would end the process in differential video.
    if (image.Width() != settings.width || image.Height() != settings.height)
      throw Error("a picture of " + std::to_string(image.Width()) + "x" +
                  std::to_string(image.Height()) + " for an encoder of " +
                  std::to_string(settings.width) + "x" + std::to_string(settings.height));
    detail::CheckedOutput(sink, [&](void* user, ztlib_output out) {
      ztlib_encoder_process(handle.get(), user, out, image.Handle(), isKey);
    });
  }
  /** Replaces the content of `frame`, which keeps its memory from call to call. */
  void Encode(const Image& image, Bytes& frame, bool isKey = false) const {
    Encode(image, detail::StoreIn(frame), isKey);
  }

  [[nodiscard]] const EncoderSettings& Settings() const { return settings; }

 private:
  EncoderSettings settings;
  detail::Handle<detail::DestroyEncoder> handle;
};

/* ------------------------------------------------------------------------------------------------
 * Motion detection
 * --------------------------------------------------------------------------------------------- */

/** A place in the units of masks: 16384 are the picture's width on both axes. */
struct MaskPoint {
  std::int16_t x, y;
};

/** What one detector watches and reports; the defaults are the library's. */
struct MotionArea {
  double sensitivity = 70;                      /**< 0 to 100 */
  double motionPercent = 0.2;                   /**< moving part of the picture that is a signal */
  std::vector<std::vector<MaskPoint>> polygons; /**< none is all of the picture */
  bool highVarianceReduction = true;
  bool meltinReduction = false;
  bool alternativeVarianceHandling = false;
  bool forbidHighSensitivityStart = true;
  bool binaryOutputMode = true;
};

struct MotionSettings {
  std::int64_t violationTimeMs = 0; /**< of movement before the signal, to 100000 */
  bool generateMetadata = true;     /**< whether results tell more than the signal */
  std::vector<MotionArea> areas;    /**< at most eight; none is one with the defaults */

  /** The settings as a block for ztlib_simplemotion_configure. */
  [[nodiscard]] TreeWriter Tree() const {
    TreeWriter configs;
    for (const MotionArea& area : areas) {
      TreeWriter config, masks;
      config.Double("Sensitivity", area.sensitivity)
          .Double("MotionPercent", area.motionPercent)
          .Bool("HighVarianceReduction", area.highVarianceReduction)
          .Bool("MeltinReduction", area.meltinReduction)
          .Bool("AlternativeVarianceHandling", area.alternativeVarianceHandling)
          .Bool("ForbidHighSensitivityStart", area.forbidHighSensitivityStart)
          .Bool("BinaryOutputMode", area.binaryOutputMode);
      for (const std::vector<MaskPoint>& polygon : area.polygons) {
        std::vector<std::int16_t> numbers;
        for (const MaskPoint& point : polygon) {
          numbers.push_back(point.x);
          numbers.push_back(point.y);
        }
        masks.Shorts("", numbers);
      }
      if (!area.polygons.empty()) config.Child("Masks", masks);
      configs.Child("", config);
    }
    TreeWriter tree;
    tree.Long("ViolationTimeMs", violationTimeMs).Bool("GenerateMetadata", generateMetadata);
    return areas.empty() ? tree : tree.Child("Configs", configs);
  }
};

/** What one detector found. */
struct MotionAreaResult {
  double detectPercent = 0; /**< moving pixels, of the picture */
  double alarmPercent = 0;  /**< 0 to 100 on the way to the signal, and 1 in it */
  ByteView bits; /**< bit i % 8 of byte i / 8 is pixel i, row by row; empty without a bitmap */

  [[nodiscard]] bool IsMoving(std::size_t pixel) const {
    return pixel / 8 < bits.size() && (bits[pixel / 8] >> pixel % 8 & 1) != 0;
  }
};

/** What a picture showed. It owns its bytes, so the bitmaps live as long as it does. */
class MotionResult {
 public:
  MotionResult() = default;
  MotionResult(MotionResult&&) = default;
  MotionResult& operator=(MotionResult&&) = default;

  bool isSignal = false;
  bool isConfigured = false; /**< false: the detectors refused their configuration */
  bool hasMetadata = false;  /**< whether there is more than the signal */
  double detectPercent = 0;  /**< the largest of the areas */
  int width = 0, height = 0; /**< of the picture in pixels */
  std::vector<MotionAreaResult> areas;

  /** Takes in a result block, which does not hold `isSignal`; what it lacks is as by default. */
  void Read(ByteView result) {
    block.assign(result.begin(), result.end());
    areas.clear();
    detectPercent = 0;
    width = height = 0;
    const std::optional<TreeElement> motions = Find(block, "Motions", '@');
    const std::optional<TreeElement> resolution = Find(block, "Resolution", '@');
    isConfigured = motions.has_value();
    hasMetadata = motions && resolution;
    if (!hasMetadata) return;
    detectPercent = Percent(block, "DetectPercent");
    width = Size(resolution->value, "Width");
    height = Size(resolution->value, "Height");
    TreeReader reader(motions->value);
    while (const std::optional<TreeElement> motion = reader.Next()) {
      if (motion->tag != '@') continue;
      areas.push_back(
          {Percent(motion->value, "DetectPercent"), Percent(motion->value, "AlarmPercent"), {}});
      if (const std::optional<TreeElement> bitmap = Find(motion->value, "Motion", 'X'))
        areas.back().bits = Bits(bitmap->value);
    }
  }

 private:
  static int Size(ByteView node, std::string_view name) {
    const std::optional<TreeElement> element = Find(node, name, 'I');
    return element ? static_cast<int>(element->Integer()) : 0;
  }
  // A picture of one row has no percentage that is a number.
  static double Percent(ByteView node, std::string_view name) {
    const std::optional<TreeElement> element = Find(node, name, 'F');
    return element && std::isfinite(element->Double()) ? element->Double() : 0;
  }
  // The bits of a bitmap of the picture's size.
  [[nodiscard]] ByteView Bits(ByteView bitmap) const {
    constexpr std::size_t header = 32;
    const auto field = [&](std::size_t at) { return LittleEndian(bitmap.Sub(at, 4)); };
    if (width <= 0 || height <= 0) return {};
    const std::uint64_t bytes =
        (static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) + 7) / 8;
    if (bitmap.size() < header + bytes || field(0) != 1 ||
        field(20) != static_cast<std::uint32_t>(width) ||
        field(24) != static_cast<std::uint32_t>(height))
      return {};
    return bitmap.Sub(header, static_cast<std::size_t>(bytes));
  }

  ztlib::Bytes block;
};

/** A time for Motion::Detect. */
[[nodiscard]] inline std::int64_t TimestampMs(std::chrono::system_clock::time_point time) {
  constexpr std::int64_t from1601To1970 = 11'644'473'600'000;
  return from1601To1970 +
         std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count();
}

/** Watches one stream of ZTLIB_GRAY pictures. */
class Motion {
 public:
  Motion() : handle(detail::Created(ztlib_simplemotion_create, "motion context")) {}
  /** Of pictures of that size in pixels. */
  Motion(const MotionSettings& settings, int width, int height) : Motion() {
    Configure(settings.Tree().Bytes(), width, height);
  }

  /** All models start to learn. Whether the settings were good shows in MotionResult. */
  void Configure(ByteView settings, int width, int height) {
    const ztlib_blob blob = detail::Blob(settings);
    detail::Checked([&] { ztlib_simplemotion_configure(handle.get(), &blob, width, height); });
  }
  void Configure(const MotionSettings& settings, int width, int height) {
    Configure(settings.Tree().Bytes(), width, height);
  }

  /**
   * Takes in the next picture; true while an area is in signal. `timestampMs` counts from
   * 1601-01-01 UTC and may stand still or go back. Mind the rows of frames whose width is no
   * multiple of 4: ztlib_ztimage_create_avframe tells; those of FramePool are right.
   */
  bool Detect(const Image& image, std::int64_t timestampMs) {
    return detail::Checked([&] {
      return ztlib_simplemotion_detect(handle.get(), nullptr, nullptr, image.Handle(), timestampMs);
    });
  }
  /** The same, with what was found; `result` keeps its memory from call to call. */
  bool Detect(const Image& image, std::int64_t timestampMs, MotionResult& result) {
    const auto read = [&result](ByteView block) { result.Read(block); };
    return result.isSignal = detail::CheckedOutput(read, [&](void* user, ztlib_output out) {
             return ztlib_simplemotion_detect(handle.get(), user, out, image.Handle(), timestampMs);
           });
  }

  /** For calls of ztlib.h; still owned by this object. */
  [[nodiscard]] void* Handle() const { return handle.get(); }

 private:
  detail::Handle<ztlib_simplemotion_destroy> handle;
};

/* ------------------------------------------------------------------------------------------------
 * Triangulation
 * --------------------------------------------------------------------------------------------- */

/** Pixels with x0 <= x < x1 and y0 <= y < y1. */
struct PixelArea {
  std::int32_t x0, y0, x1, y1;
};

/** Values known at some pixels of a frame, estimated at any other. */
class Triangulation {
 public:
  /** `dimensions` is how many values a complete point has. */
  Triangulation(const PixelArea& frame, std::int32_t dimensions)
      : handle(detail::Created(ztlib_triangulation_create, "memory for a triangulation")) {
    detail::Checked([&] {
      ztlib_triangulation_init(handle.get(), frame.x0, frame.y0, frame.x1, frame.y1, dimensions);
    });
  }

  /** A point outside of the frame, or where there is one already, is ignored. */
  void AddPoint(std::int32_t x, std::int32_t y, Span<const float> values) {
    detail::Checked([&] {
      ztlib_triangulation_addPoint(handle.get(), x, y, values.data(),
                                   static_cast<std::int32_t>(values.size()));
    });
  }
  /** Extrapolates to the corners of the frame and to incomplete points. */
  void Finalize() {
    detail::Checked([this] { ztlib_triangulation_finalize(handle.get()); });
  }
  /** Writes the first values at a pixel, as many as `out` has room for. */
  void Estimate(std::int32_t x, std::int32_t y, Span<float> out) const {
    detail::Checked([&] {
      ztlib_triangulation_estimate(handle.get(), x, y, out.data(),
                                   static_cast<std::int32_t>(out.size()));
    });
  }

 private:
  detail::Handle<ztlib_triangulation_destroy> handle;
};

}  // namespace ztlib

#endif /* ZTLIB_HPP */
