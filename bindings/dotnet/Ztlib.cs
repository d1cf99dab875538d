// ztlib for .NET: pictures, camera video, motion and estimates between points.
//
// This file is the whole binding. It needs .NET Standard 2.0, no unsafe code and the 64-bit
// library, and is tested with Mono on Linux. .NET on Windows is untested. docs/dotnet.md tells
// more.
using System;
using System.Collections;
using System.Collections.Concurrent;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Runtime.ExceptionServices;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;
using Microsoft.Win32.SafeHandles;

namespace Ztlib
{
    /// <summary>A call of the library failed; the message is the library's.</summary>
    /// <remarks>
    /// It comes on the thread that made the call. The inner exception is the one that left a
    /// callback and made the call fail, such as <see cref="OutOfMemoryException"/> for a picture.
    /// </remarks>
    public sealed class ZtlibException : Exception
    {
        internal ZtlibException(string text, Exception cause = null) : base(text, cause) { }
    }

    /// <summary>Pixel formats. A sample is one pixel or the group of pixels that is told.</summary>
    public enum PixelFormat
    {
        /// <summary>1 byte, 0 or 1.</summary>
        Bool8 = 0,
        /// <summary>1 byte.</summary>
        Gray = 1,
        /// <summary>4 bytes: blue, green, red, unused.</summary>
        Rgb = 2,
        /// <summary>4 bytes: Y, U, V, unused.</summary>
        Yuv = 3,
        /// <summary>4 bytes for 2 pixels: Y left, U, Y right, V.</summary>
        Yuyv = 4,
        /// <summary>4 bytes for 2 pixels: U, Y left, V, Y right.</summary>
        Uyvy = 5,
        /// <summary>1 byte for each site of a sensor.</summary>
        RgbBayer = 6,
        /// <summary>4 bytes for 2 by 2 pixels: Y top left, Y bottom right, U, V.</summary>
        YuvBayerBlock = 7,
        /// <summary>384 bytes for 16 by 16 pixels: four tiles of Y, then U and V.</summary>
        Yuv420Block = 8
    }

    /// <summary>How camera video is coded. The layered formats are decoded only.</summary>
    public enum VideoFormat
    {
        /// <summary>Layers that refine each other.</summary>
        Layered = 0,
        /// <summary>Every frame is a JPEG picture.</summary>
        Mjpeg = 3,
        /// <summary>Layered key frames, and between them blocks that changed.</summary>
        LayeredDiff = 4,
        /// <summary>Key frames, and between them blocks that changed.</summary>
        MjpegDiff = 7
    }

    /// <summary>
    /// The context of the library's services, its log, and the limit of pictures.
    /// </summary>
    /// <remarks>
    /// It marks the use of the library from begin to end, for programs that want its report. Its
    /// end deletes the library's services, loggers among them, and reports that on standard output.
    /// No other thread may be in the library then. Nothing else needs a context.
    /// </remarks>
    public sealed class Context : IDisposable
    {
        static readonly List<Native.Logger> loggers = new List<Native.Logger>();
        bool ended;

        /// <summary>Begins the use of the library.</summary>
        public Context() => Calls.Run(() => Native.ztlib_context_create());

        /// <summary>Ends the use of the library. A second call does nothing.</summary>
        public void Dispose()
        {
            if (ended)
                return;
            ended = true;
            // No thread of the runtime destroys a forgotten object meanwhile.
            GC.Collect();
            GC.WaitForPendingFinalizers();
            Calls.Run(() => Native.ztlib_context_destroy());
        }

        /// <summary>
        /// Hands log lines, with their level from 0 to 4, to a method, which cannot be removed.
        /// </summary>
        /// <remarks>
        /// It runs on the thread of each call, under the library's lock: it must not wait for
        /// another thread that calls the library. What it throws comes out of the call.
        /// </remarks>
        public static void AddLogger(Action<int, string> logger)
        {
            Native.Logger write =
                (level, text) => Calls.Guard(() => logger(level, Calls.TextAt(text)));
            lock (loggers)
                loggers.Add(write);
            Calls.Run(() => Native.ztlib_registerLogger(write));
        }

        /// <summary>
        /// Pictures of more pixels are refused (2^26), because damaged video can ask for any size.
        /// </summary>
        public static long PixelLimit
        {
            get { return FrameManager.PixelLimit; }
            set { FrameManager.PixelLimit = value; }
        }

        /// <summary>
        /// Whether arrays of the library's pictures are used again, which spares the collector a
        /// picture for each frame (false).
        /// </summary>
        /// <remarks>
        /// <see cref="Image.Pixels"/> is valid then until the image gets another picture or is
        /// closed. Arrays that a program has wrapped are never used again.
        /// </remarks>
        public static bool ReuseArrays
        {
            get { return FrameManager.Reuse; }
            set { FrameManager.Reuse = value; }
        }
    }

    /// <summary>
    /// A picture, or none yet, as codecs and motion detection take it. It belongs to one thread at
    /// a time.
    /// </summary>
    public sealed class Image : IDisposable
    {
        internal readonly ImageHandle Handle;

        /// <summary>Makes an image without a picture.</summary>
        public Image() => Handle = Calls.Made(Calls.Run(() => Native.ztlib_ztimage_create()));

        /// <summary>
        /// Wraps an array, which is not copied: later changes show in the picture.
        /// </summary>
        /// <param name="pixels">
        /// The rows of samples without padding, and nothing else. The array stays where it is in
        /// memory until the library is done with the picture.
        /// </param>
        /// <param name="width">In pixels; a whole number of samples.</param>
        /// <param name="height">In pixels; a whole number of samples.</param>
        /// <param name="format">What the bytes mean.</param>
        /// <exception cref="ArgumentException">
        /// The array has not the size of the picture.
        /// </exception>
        public Image(byte[] pixels, int width, int height, PixelFormat format = PixelFormat.Rgb)
        {
            IntPtr frame = FrameManager.Hold(pixels, width, height, format);
            ImageHandle made = null;
            try
            {
                Calls.Run(() => made = Native.ztlib_ztimage_create_avframe((int)format, frame));
                Handle = Calls.Made(made);
            }
            catch
            {
                // An image owns its frame.
                if (made == null || made.IsInvalid)
                    FrameManager.Drop(frame);
                throw;
            }
        }

        Frame Frame
        {
            get
            {
                return FrameManager.Held(
                    Calls.Run(() => Native.ztlib_ztimage_get_avframe(Handle)));
            }
        }

        /// <summary>The bytes of the picture without a copy, null for an empty image.</summary>
        /// <remarks>
        /// The array stays as it is when the image gets another picture or is closed, unless
        /// <see cref="Context.ReuseArrays"/> is set.
        /// </remarks>
        public byte[] Pixels => Frame?.Pixels;

        /// <summary>The pixel format, null for an empty image.</summary>
        public PixelFormat? Format => Frame?.Format;

        /// <summary>The width in pixels, 0 for an empty image.</summary>
        public int Width => Frame?.Width ?? 0;

        /// <summary>The height in pixels, 0 for an empty image.</summary>
        public int Height => Frame?.Height ?? 0;

        /// <summary>The picture as one block that <see cref="Load"/> takes.</summary>
        /// <exception cref="ZtlibException">The image is empty.</exception>
        public byte[] Save() =>
            Calls.Result(output => Native.ztlib_ztimage_saveToZTMem(Handle, IntPtr.Zero, output));

        /// <summary>
        /// Replaces the picture by the one in a block of <see cref="Save"/>. After a
        /// <see cref="ZtlibException"/> it is the old one.
        /// </summary>
        public void Load(byte[] block)
        {
            using (var pin = new Pin(block))
                Calls.Run(() => Native.ztlib_ztimage_loadFromZTMem(Handle, ref pin.Blob));
        }

        /// <summary>Destroys the image, but not the array of its pixels.</summary>
        public void Dispose() => Handle.Dispose();
    }

    /// <summary>
    /// Codes pictures as <see cref="VideoFormat.Mjpeg"/> or <see cref="VideoFormat.MjpegDiff"/>.
    /// Several threads may use one encoder; their calls wait for each other.
    /// </summary>
    public sealed class Encoder : IDisposable
    {
        readonly EncoderHandle handle;
        readonly bool differential;
        int width, height;

        /// <summary>The arguments behind the first are those of <see cref="Configure"/>.</summary>
        public Encoder(VideoFormat video, int width, int height,
                       IDictionary<string, object> settings = null)
        {
            handle = Calls.Made(Calls.Run(() => Native.ztlib_encoder_create((int)video)));
            differential = video == VideoFormat.MjpegDiff;
            Configure(width, height, settings);
        }

        /// <summary>
        /// Sets the size in pixels, and settings by their names in ztlib.h, such as
        /// <c>{"JPEGQuality", 80}</c>. After a <see cref="ZtlibException"/> the old ones hold.
        /// </summary>
        public void Configure(int width, int height, IDictionary<string, object> settings = null)
        {
            var all = new Dictionary<string, object>(settings ?? new Dictionary<string, object>());
            all["Width"] = width;
            all["Height"] = height;
            using (var pin = new Pin(Tree.Dump(all)))
            {
                lock (handle)
                {
                    Calls.Run(() => Native.ztlib_encoder_config(handle, ref pin.Blob));
                    this.width = width;
                    this.height = height;
                }
            }
        }

        /// <summary>Codes a picture of the configured size as one frame.</summary>
        /// <param name="image">
        /// In any format that converts to <see cref="PixelFormat.Yuv"/>.
        /// </param>
        /// <param name="key">Makes it a key frame.</param>
        /// <exception cref="ArgumentException">
        /// Differential video does not take a picture of this size.
        /// </exception>
        public byte[] Process(Image image, bool key = false)
        {
            lock (handle)
            {
                // The library would end the process.
                if (differential && (image.Width != width || image.Height != height ||
                                     width % 8 != 0 || height % 8 != 0))
                    throw new ArgumentException(
                        $"a picture of another size than {width} x {height}, or no multiple of 8");
                return Calls.Result(output => Native.ztlib_encoder_process(
                    handle, IntPtr.Zero, output, image.Handle, (byte)(key ? 1 : 0)));
            }
        }

        /// <summary>Destroys the encoder.</summary>
        public void Dispose() => handle.Dispose();
    }

    /// <summary>Decodes frames of one camera. It belongs to one thread at a time.</summary>
    public sealed class Decoder : IDisposable
    {
        readonly DecoderHandle handle;

        /// <summary>The arguments behind the first are those of <see cref="Configure"/>.</summary>
        public Decoder(VideoFormat video = VideoFormat.Mjpeg, PixelFormat pixels = PixelFormat.Rgb,
                       int scale = 1, bool swapRgb = false)
        {
            handle = Calls.Made(Calls.Run(() => Native.ztlib_decoder_create((int)video)));
            Configure(pixels, scale, swapRgb);
        }

        /// <summary>
        /// Sets the format of pictures and the number by which both sides are divided.
        /// </summary>
        public void Configure(PixelFormat pixels = PixelFormat.Rgb, int scale = 1,
                              bool swapRgb = false)
        {
            var settings = new Dictionary<string, object>
                { { "PixelFormat", (int)pixels }, { "ScaleDown", scale }, { "SwapRGB", swapRgb } };
            using (var pin = new Pin(Tree.Dump(settings)))
                Calls.Run(() => Native.ztlib_decoder_config(handle, ref pin.Blob));
        }

        /// <summary>Decodes a frame into a new image, or into <paramref name="image"/>.</summary>
        /// <param name="frame">
        /// Is not copied, and differential video writes to it, so two decoders must not have it at
        /// once.
        /// </param>
        /// <param name="image">Gets the picture and is returned.</param>
        /// <remarks>
        /// A frame of another video format replaces the decoder by one that has to be configured
        /// anew. After a <see cref="ZtlibException"/> the decoder stays usable.
        /// </remarks>
        public Image Process(byte[] frame, Image image = null)
        {
            Image target = image ?? new Image();
            try
            {
                Calls.Run(() => handle.Process(target.Handle, frame));
            }
            catch when (image == null)
            {
                target.Dispose();
                throw;
            }
            return target;
        }

        /// <summary>
        /// Gives differential video a picture to start from without a key frame (a copy).
        /// </summary>
        public void SetBaseImage(Image image) =>
            Calls.Run(() => Native.ztlib_decoder_setBaseImage(handle, image.Handle));

        /// <summary>Destroys the decoder.</summary>
        public void Dispose() => handle.Dispose();
    }

    /// <summary>The header of a frame; sizes are in pixels.</summary>
    public sealed class FrameInfo
    {
        readonly int[] numbers;

        internal FrameInfo(int[] numbers, ArraySegment<byte> payload)
        {
            this.numbers = numbers;
            Payload = payload;
        }

        /// <summary>The width in pixels.</summary>
        public int Width => numbers[0];
        /// <summary>The height in pixels.</summary>
        public int Height => numbers[1];
        /// <summary>The video format, which may be one that the library does not know.</summary>
        public VideoFormat Format => (VideoFormat)numbers[2];
        /// <summary>Other than 0 for a frame that changes the picture before it.</summary>
        public int Differential => numbers[3];
        /// <summary>The header's number of that name.</summary>
        public int Refresh => numbers[4];
        /// <summary>
        /// The type of a frame of differential video, else <see cref="Differential"/>.
        /// </summary>
        public int FrameType => numbers[5];
        /// <summary>What follows the header: a part of the frame's array, not a copy.</summary>
        public ArraySegment<byte> Payload { get; private set; }
    }

    /// <summary>What a coded frame tells about itself, and its parts.</summary>
    public static class CodedFrame
    {
        /// <summary>Reads the header of a frame.</summary>
        /// <exception cref="ZtlibException">The frame has less than 64 bytes.</exception>
        public static FrameInfo Info(byte[] frame)
        {
            var n = new int[6];
            IntPtr payload = IntPtr.Zero;
            uint size = 0;
            using (var pin = new Pin(frame))
            {
                Calls.Run(() => Native.ztlib_getFrameInfo2(
                    pin.Blob.Data, (uint)frame.Length, ref n[0], ref n[1], ref n[2], ref n[3],
                    ref n[4], ref n[5], ref payload, ref size));
                long begin = payload.ToInt64() - pin.Blob.Data.ToInt64();
                return new FrameInfo(n, new ArraySegment<byte>(frame, (int)begin, (int)size));
            }
        }

        /// <summary>A copy of what follows the header of a frame.</summary>
        public static byte[] Payload(byte[] frame)
        {
            int none = 0;
            using (var pin = new Pin(frame))
                return Calls.Result(output => Native.ztlib_getFrameInfo1(
                    ref pin.Blob, ref none, ref none, ref none, ref none, ref none, ref none,
                    IntPtr.Zero, output));
        }

        /// <summary>The video format of a frame, -1 if it is too short to have one.</summary>
        public static VideoFormat FormatOf(byte[] frame)
        {
            using (var pin = new Pin(frame))
                return (VideoFormat)Calls.Run(() => Native.ztlib_getVideoFormat(ref pin.Blob));
        }

        /// <summary>
        /// Makes a frame of <see cref="VideoFormat.Mjpeg"/> of a JPEG file's bytes.
        /// </summary>
        public static byte[] AddHeader(byte[] jpeg)
        {
            return Calls.Result(output => Native.ztlib_copyAndAddHeader(
                IntPtr.Zero, output, jpeg, (uint)jpeg.Length));
        }

        /// <summary>Transforms 8 by 8 coefficients of layered video in place.</summary>
        /// <exception cref="ArgumentException">There are not 64 of them.</exception>
        public static void InverseTransform(short[] block)
        {
            if (block.Length != 64)
                throw new ArgumentException("a block has 64 coefficients");
            Calls.Run(() => Native.idct8x8_mmx(block));
        }
    }

    /// <summary>Layers of older cameras' video.</summary>
    public static class Layers
    {
        /// <summary>4 for a layered frame and 0 for every other one.</summary>
        public static int Count(byte[] frame)
        {
            using (var pin = new Pin(frame))
                return Calls.Run(() => Native.ztlib_getLayerCount(ref pin.Blob));
        }

        /// <summary>
        /// The bytes of the four layers without headers; zeros for a frame without layers, or cut.
        /// </summary>
        public static long[] Sizes(byte[] frame)
        {
            var sizes = new uint[4];
            using (var pin = new Pin(frame))
                Calls.Run(() => Native.ztlib_getLayerSizes(ref pin.Blob, sizes));
            return Array.ConvertAll(sizes, size => (long)size);
        }

        /// <summary>
        /// The records of a frame's four layers; nothing for a frame without layers.
        /// </summary>
        public static IList<byte[]> Decompose(byte[] frame)
        {
            using (var pin = new Pin(frame))
                return Calls.Results(output => Native.ztlib_decomposeToLayers(
                    ref pin.Blob, new IntPtr[4], output));
        }

        /// <summary>Makes one frame of the records of the first one to four layers.</summary>
        public static byte[] Compose(params byte[][] records)
        {
            var pins = new List<Pin>();
            try
            {
                foreach (byte[] record in records)
                    pins.Add(new Pin(record));
                Blob[] blobs = pins.Select(pin => pin.Blob).ToArray();
                var array = new Pin(blobs);
                pins.Add(array);
                int size = Marshal.SizeOf(typeof(Blob));
                IntPtr[] pointers = blobs.Select((_, i) => array.Blob.Data + i * size).ToArray();
                return Calls.Result(output => Native.ztlib_composeFromLayers(
                    IntPtr.Zero, output, pointers, pointers.Length));
            }
            finally
            {
                pins.ForEach(pin => pin.Dispose());
            }
        }
    }

    /// <summary>Recordings: .zts files, which are coded frames back to back.</summary>
    public static class Recording
    {
        const int Shortest = 64;  // bytes of the oldest header

        /// <summary>Reads the frames of a recording while they are asked for.</summary>
        /// <exception cref="InvalidDataException">The recording is cut or damaged here.</exception>
        public static IEnumerable<byte[]> Frames(string path)
        {
            using (var reader = new BinaryReader(File.OpenRead(path)))
            {
                for (long rest = reader.BaseStream.Length; rest > 0;)
                {
                    byte[] head = reader.ReadBytes(8);
                    long size = head.Length < 8 ? 0 : BitConverter.ToUInt32(head, 4);
                    if (size < Shortest || size > rest || size > int.MaxValue)
                        throw new InvalidDataException(
                            $"{path}: cut or damaged, {rest} bytes before its end");
                    byte[] frame = new byte[size];
                    head.CopyTo(frame, 0);
                    reader.ReadBytes(frame.Length - head.Length).CopyTo(frame, head.Length);
                    rest -= size;
                    yield return frame;
                }
            }
        }
    }

    /// <summary>
    /// Motion detection in one stream of gray pictures. It belongs to one thread at a time.
    /// </summary>
    public sealed class Motion : IDisposable
    {
        readonly MotionHandle handle;

        /// <summary>Makes a detection that is not configured.</summary>
        public Motion() => handle = Calls.Made(Calls.Run(() => Native.ztlib_simplemotion_create()));

        /// <summary>
        /// Sets areas and thresholds, by their names in ztlib.h, for pictures of that size in
        /// pixels.
        /// </summary>
        /// <remarks>
        /// A value counts only in its own kind: <c>{"Sensitivity", 80.0}</c> and not 80.
        /// </remarks>
        public void Configure(IDictionary<string, object> config, int width, int height)
        {
            using (var pin = new Pin(Tree.Dump(config)))
                Calls.Run(() => Native.ztlib_simplemotion_configure(
                    handle, ref pin.Blob, width, height));
        }

        /// <summary>Takes in the next picture.</summary>
        /// <param name="image">In <see cref="PixelFormat.Gray"/>.</param>
        /// <param name="timestampMs">In milliseconds since 1601-01-01 UTC.</param>
        /// <param name="result">The result as ztlib.h describes it.</param>
        /// <returns>Whether an area is in signal.</returns>
        public bool Detect(Image image, long timestampMs, out IDictionary<string, object> result)
        {
            bool signal = false;
            byte[] block = Calls.Result(output => signal = Native.ztlib_simplemotion_detect(
                handle, IntPtr.Zero, output, image.Handle, timestampMs));
            result = (IDictionary<string, object>)Tree.Load(block);
            return signal;
        }

        /// <summary>
        /// The moving pixels in a "Motion" of a result, which is a <see cref="Binary"/>: rows, then
        /// columns.
        /// </summary>
        public static bool[,] Bitmap(Binary motion)
        {
            byte[] block = motion.Bytes;
            int width = BitConverter.ToInt32(block, 20), height = BitConverter.ToInt32(block, 24);
            var pixels = new bool[height, width];
            for (int y = 0, bit = 32 * 8; y < height; y++)
                for (int x = 0; x < width; x++, bit++)
                    pixels[y, x] = (block[bit / 8] >> bit % 8 & 1) != 0;
            return pixels;
        }

        /// <summary>Destroys the detection.</summary>
        public void Dispose() => handle.Dispose();
    }

    /// <summary>
    /// Points with values, and estimates between them. It belongs to one thread at a time.
    /// </summary>
    public sealed class Triangulation : IDisposable
    {
        readonly TriangulationHandle handle;
        int dimensions;

        /// <summary>The arguments are those of <see cref="Start"/>.</summary>
        public Triangulation(int x0, int y0, int x1, int y1, int dimensions = 1)
        {
            handle = Calls.Made(Calls.Run(() => Native.ztlib_triangulation_create()));
            Start(x0, y0, x1, y1, dimensions);
        }

        /// <summary>
        /// Begins anew: points have x0 &lt;= x &lt; x1 and y0 &lt;= y &lt; y1, and that many
        /// values.
        /// </summary>
        public void Start(int x0, int y0, int x1, int y1, int dimensions = 1)
        {
            Calls.Run(() => Native.ztlib_triangulation_init(handle, x0, y0, x1, y1, dimensions));
            this.dimensions = dimensions;
        }

        /// <summary>
        /// Adds a point with copies of its values. One outside, or at the place of another, counts
        /// for nothing.
        /// </summary>
        public void AddPoint(int x, int y, params float[] values)
        {
            Calls.Run(
                () => Native.ztlib_triangulation_addPoint(handle, x, y, values, values.Length));
        }

        /// <summary>
        /// Completes the corners and the points without all values (ztlib_triangulation_finalize).
        /// </summary>
        public void Complete() => Calls.Run(() => Native.ztlib_triangulation_finalize(handle));

        /// <summary>The values at a pixel, zeros where there are none.</summary>
        public float[] Estimate(int x, int y)
        {
            var values = new float[Math.Max(dimensions, 0)];
            Calls.Run(
                () => Native.ztlib_triangulation_estimate(handle, x, y, values, values.Length));
            return values;
        }

        /// <summary>Destroys the points.</summary>
        public void Dispose() => handle.Dispose();
    }

    /// <summary>
    /// Virtual coordinates, 16384 across each axis of a picture, and the choice of a scale. A size
    /// of 0 gives 0.
    /// </summary>
    public static class Coordinates
    {
        /// <summary>The column of a virtual x in a picture of that width in pixels.</summary>
        public static int PixelX(int virtualX, int width) =>
            Calls.Run(() => Native.ztlib_getPixelXByVirtualX(virtualX, width));

        /// <summary>The row of a virtual y.</summary>
        public static int PixelY(int virtualY, int height) =>
            Calls.Run(() => Native.ztlib_getPixelYByVirtualY(virtualY, height));

        /// <summary>The virtual x of a column.</summary>
        public static int VirtualX(int pixelX, int width) =>
            Calls.Run(() => Native.ztlib_getVirtualXByPixelX(pixelX, width));

        /// <summary>The virtual y of a row.</summary>
        public static int VirtualY(int pixelY, int height) =>
            Calls.Run(() => Native.ztlib_getVirtualYByPixelY(pixelY, height));

        /// <summary>
        /// The power of two that brings the larger side closest to <paramref name="target"/>
        /// pixels, with a format in whole samples of it. 0 if there is none.
        /// </summary>
        public static int ScaleDown(int target, int width, int height, PixelFormat? format = null)
        {
            if (format == null)
                return Calls.Run(() => Native.ztlib_getScaleDownByPixel1(target, width, height));
            return Calls.Run(
                () => Native.ztlib_getScaleDownByPixel3(target, (int)format, width, height));
        }
    }

    /// <summary>A string of 16-bit units in a <see cref="Tree"/>.</summary>
    public sealed class Wide
    {
        /// <summary>Wraps a text.</summary>
        public Wide(string text) => Text = text;

        /// <summary>The text.</summary>
        public string Text { get; private set; }
    }

    /// <summary>
    /// A block of bytes in a <see cref="Tree"/>. Its metadata is written empty and skipped.
    /// </summary>
    public sealed class Binary
    {
        /// <summary>Wraps bytes without a copy.</summary>
        public Binary(byte[] bytes) => Bytes = bytes;

        /// <summary>The bytes.</summary>
        public byte[] Bytes { get; private set; }
    }

    /// <summary>
    /// A node of a <see cref="Tree"/> as pairs of a name ("" for none) and a value.
    /// </summary>
    public sealed class Elements : List<KeyValuePair<string, object>>
    {
        /// <summary>Adds an element.</summary>
        public void Add(string name, object value) =>
            Add(new KeyValuePair<string, object>(name, value));
    }

    /// <summary>Trees in the tagged form: configurations and results.</summary>
    /// <remarks>
    /// The type of a value is its kind:
    /// <c>bool</c>, <c>double</c>, <c>string</c>, <c>byte[]</c>: bool, double, string, byte array;
    /// <c>byte</c>, <c>short</c>, <c>int</c>, <c>long</c>: byte, short, int, long long;
    /// <c>ulong</c>: time, in milliseconds since 1601-01-01 UTC;
    /// <c>short[]</c>, <see cref="Guid"/>, <see cref="Wide"/>, <see cref="Binary"/>: short array,
    /// GUID, wide string, binary;
    /// <c>IDictionary&lt;string, object&gt;</c>: node whose elements have names;
    /// any other collection: node whose elements have none;
    /// <see cref="Elements"/>: node whose names repeat, or some of whose names are missing.
    /// </remarks>
    public static class Tree
    {
        const int Deepest = 256;  // levels of nodes below the root

        /// <summary>Writes a node as a block.</summary>
        /// <exception cref="ArgumentException">A tree cannot hold this value or name.</exception>
        public static byte[] Dump(IEnumerable node)
        {
            var stream = new MemoryStream();
            WriteNode(new BinaryWriter(stream), node, 0);
            return stream.ToArray();
        }

        /// <summary>
        /// Reads a block: a <c>Dictionary&lt;string, object&gt;</c>, a <c>List&lt;object&gt;</c> if
        /// no element has a name, or <see cref="Elements"/>. Bytes that are not UTF-8 become
        /// U+FFFD.
        /// </summary>
        /// <exception cref="FormatException">
        /// The block is cut or damaged, which the library's own reader skips.
        /// </exception>
        public static object Load(byte[] block) => ReadNode(block, 0, block.Length, 0);

        static void WriteNode(BinaryWriter writer, IEnumerable node, int level)
        {
            if (level > Deepest)
                throw new ArgumentException($"a tree has no more than {Deepest} levels");
            foreach (object child in node)
            {
                if (child is KeyValuePair<string, object> pair)
                    WriteElement(writer, pair.Key, pair.Value, level);
                else
                    WriteElement(writer, "", child, level);
            }
            writer.Write((byte)0);
        }

        static void WriteElement(BinaryWriter writer, string name, object value, int level)
        {
            byte[] title = Encoding.UTF8.GetBytes(name);
            if (title.Length > 127)
                throw new ArgumentException($"a name of {title.Length} bytes cannot be read back");
            Stream stream = writer.BaseStream;
            long begin = stream.Position, body = begin + 6 + title.Length;
            writer.Write((byte)0);
            writer.Write((byte)title.Length);
            writer.Write(title);
            writer.Write(0);
            char tag = WriteValue(writer, value, level);
            long end = stream.Position;
            stream.Position = begin;
            writer.Write((byte)tag);
            stream.Position = body - 4;
            writer.Write((uint)(end - body));
            stream.Position = end;
        }

        // Returns the tag of what it has written.
        static char WriteValue(BinaryWriter writer, object value, int level)
        {
            if (value is bool flag) { writer.Write(flag); return 'B'; }
            if (value is byte tiny) { writer.Write(tiny); return '1'; }
            if (value is short small) { writer.Write(small); return '2'; }
            if (value is int number) { writer.Write(number); return 'I'; }
            if (value is long large) { writer.Write(large); return 'Q'; }
            if (value is ulong time) { writer.Write(time); return 'T'; }
            if (value is double real) { writer.Write(real); return 'F'; }
            if (value is string text) { writer.Write(Encoding.UTF8.GetBytes(text)); return 'S'; }
            if (value is Guid id) { writer.Write(InOrderOfText(id.ToByteArray())); return 'G'; }
            if (value is Wide wide)
            {
                writer.Write(Encoding.Unicode.GetBytes(wide.Text));
                return 'W';
            }
            if (value is byte[] bytes)
            {
                writer.Write((byte)'1');
                writer.Write(bytes);
                return '*';
            }
            if (value is short[] shorts)
            {
                writer.Write((byte)'2');
                Array.ForEach(shorts, writer.Write);
                return '*';
            }
            if (value is Binary binary)
            {
                writer.Write((byte)0);
                writer.Write(binary.Bytes);
                return 'X';
            }
            if (value is IEnumerable node)
            {
                WriteNode(writer, node, level + 1);
                return '@';
            }
            throw new ArgumentException($"a tree has no {value?.GetType().Name ?? "null"}");
        }

        static object ReadNode(byte[] block, int begin, int end, int level)
        {
            var elements = new Elements();
            Split(block, begin, end, (tag, name, at, size) =>
                elements.Add(name, ReadValue(tag, block, at, size, level)));
            int names = elements.Select(element => element.Key).Distinct().Count();
            bool unnamed = elements.Any(element => element.Key == "");
            if (unnamed && names == 1)
                return elements.Select(element => element.Value).ToList();
            if (unnamed || names < elements.Count)
                return elements;
            return elements.ToDictionary(element => element.Key, element => element.Value);
        }

        static object ReadValue(char tag, byte[] block, int at, int size, int level)
        {
            int end = at + size;
            if (tag == 'B' && size == 1) return block[at] != 0;
            if (tag == '1' && size == 1) return block[at];
            if (tag == '2' && size == 2) return BitConverter.ToInt16(block, at);
            if (tag == 'I' && size == 4) return BitConverter.ToInt32(block, at);
            if (tag == 'Q' && size == 8) return BitConverter.ToInt64(block, at);
            if (tag == 'T' && size == 8) return BitConverter.ToUInt64(block, at);
            if (tag == 'F' && size == 8) return BitConverter.ToDouble(block, at);
            if (tag == 'S') return Encoding.UTF8.GetString(block, at, size);
            if (tag == 'W' && size % 2 == 0)
                return new Wide(Encoding.Unicode.GetString(block, at, size));
            if (tag == 'G' && size == 16) return new Guid(InOrderOfText(Part(block, at, end)));
            if (tag == '*' && size > 0 && block[at] == '1') return Part(block, at + 1, end);
            if (tag == '*' && size % 2 == 1 && block[at] == '2')
            {
                var numbers = new short[size / 2];
                Buffer.BlockCopy(block, at + 1, numbers, 0, size - 1);
                return numbers;
            }
            if (tag == 'X')
                return new Binary(Part(block, Split(block, at, end, (t, n, a, s) => { }), end));
            if (tag == '@' && level < Deepest) return ReadNode(block, at, end, level + 1);
            throw new FormatException($"a tree has no element of tag '{tag}' and {size} bytes");
        }

        // Tells the tag, the name, the place and the size of each element of a node, and returns
        // what follows the end of the node.
        static int Split(byte[] block, int at, int end, Action<char, string, int, int> element)
        {
            while (at < end && block[at] != 0)
            {
                if (end - at < 2 || block[at + 1] > 127 || end - at < 6 + block[at + 1])
                    throw new FormatException("a tree is cut or damaged");
                int begin = at + 6 + block[at + 1];
                uint size = BitConverter.ToUInt32(block, begin - 4);
                if (size > end - begin)
                    throw new FormatException("a tree is cut or damaged");
                string name = Encoding.UTF8.GetString(block, at + 2, block[at + 1]);
                element((char)block[at], name, begin, (int)size);
                at = begin + (int)size;
            }
            return Math.Min(at + 1, end);
        }

        static byte[] Part(byte[] block, int begin, int end)
        {
            var part = new byte[end - begin];
            Array.Copy(block, begin, part, 0, part.Length);
            return part;
        }

        // Guid has its first three numbers the other way round. This is its own inverse.
        static byte[] InOrderOfText(byte[] bytes)
        {
            Array.Reverse(bytes, 0, 4);
            Array.Reverse(bytes, 4, 2);
            Array.Reverse(bytes, 6, 2);
            return bytes;
        }
    }

    // Calls of the library: failures become exceptions, on the thread of the call.
    sealed class Calls
    {
        // The innermost call that runs on this thread.
        [ThreadStatic] static Calls current;
        static int threadsInside;
        static volatile Thread ending;  // the thread that ends the program

        // The library keeps no reference, so these live as long as the process.
        internal static readonly Native.Output Collect = (user, data, size) => Guard(() =>
        {
            var result = new byte[size];
            if (size > 0)
                Marshal.Copy(data, result, 0, result.Length);
            current.results.Add(result);
        });
        internal static readonly Native.Handler Handle = text => Guard(() =>
        {
            if (current != null)
                current.failure = TextAt(text);
        });

        readonly List<byte[]> results = new List<byte[]>();
        string failure;
        Exception thrown;

        // Mono looks for an export when it compiles a method that calls it. All such methods are
        // arguments of the methods below, or work on what these have made.
        static Calls()
        {
            Native.Load();
            Native.Register();
            AppDomain.CurrentDomain.ProcessExit += (sender, arguments) => End();
        }

        // Mono ends background threads wherever they are, and no thread may end inside the library.
        static void End()
        {
            ending = Thread.CurrentThread;
            while (Volatile.Read(ref threadsInside) > (current == null ? 0 : 1))
                Thread.Sleep(1);
        }

        // Runs an export. Throws ZtlibException if it fails, and what a callback has thrown first
        // if that is all.
        internal static T Run<T>(Func<T> export)
        {
            T result = default(T);
            Results(_ => result = export());
            return result;
        }

        internal static void Run(Action export) => Results(_ => export());

        // What an export hands out, in its order.
        internal static List<byte[]> Results(Action<Native.Output> export)
        {
            Calls outer = current, call = new Calls();
            if (outer == null)
                Enter();
            try
            {
                current = call;
                export(Collect);
            }
            finally
            {
                current = outer;
                if (outer == null)
                    Interlocked.Decrement(ref threadsInside);
            }
            if (call.failure != null)
                throw new ZtlibException(call.failure, call.thrown);
            if (call.thrown != null)
                ExceptionDispatchInfo.Capture(call.thrown).Throw();
            return call.results;
        }

        static void Enter()
        {
            Interlocked.Increment(ref threadsInside);
            // Either this thread sees the end, or the end sees this thread.
            if (ending == null || ending == Thread.CurrentThread)
                return;
            Interlocked.Decrement(ref threadsInside);
            Thread.Sleep(Timeout.Infinite);
        }

        // What an export has handed out once.
        internal static byte[] Result(Action<Native.Output> export)
        {
            List<byte[]> results = Results(export);
            if (results.Count != 1)
                throw new ZtlibException("no result");
            return results[0];
        }

        // Runs the body of a callback. What it throws waits until the call returns, because nothing
        // may cross the frames of the library; outside of a call it is dropped.
        internal static void Guard(Action body)
        {
            try
            {
                body();
            }
            catch (Exception exception)
            {
                if (current != null && current.thrown == null)
                    current.thrown = exception;
            }
        }

        internal static string TextAt(IntPtr text)
        {
            var bytes = new List<byte>();
            for (byte next; (next = Marshal.ReadByte(text, bytes.Count)) != 0;)
                bytes.Add(next);
            return Encoding.UTF8.GetString(bytes.ToArray());
        }

        internal static T Made<T>(T handle) where T : SafeHandle
        {
            if (handle.IsInvalid)
                throw new ZtlibException(
                    $"the library makes no such {typeof(T).Name.Replace("Handle", "")}");
            return handle;
        }
    }

    // A frame that the library holds: its pixels cannot move, and the record tells where they are.
    sealed class Frame
    {
        internal byte[] Pixels;
        internal int Width, Height;
        internal PixelFormat Format;
        internal GCHandle Pin;
        internal bool Wrapped;  // the array is the program's
    }

    // All memory of pictures is managed. A frame is held here exactly as long as the library holds
    // it.
    static class FrameManager
    {
        const int MostIdle = 8;  // what one stream has in work at a time
        internal static long PixelLimit = 1 << 26;
        internal static bool Reuse;
        internal static readonly Native.Allocate Allocate = (width, height, format) =>
        {
            IntPtr record = IntPtr.Zero;
            Calls.Guard(() =>
            {
                if ((long)width * height > PixelLimit)
                    throw new OutOfMemoryException(
                        $"a picture of {width} x {height} pixels is above the limit");
                long size = BytesOf((PixelFormat)format, width, height);
                if (idle.TryDequeue(out byte[] pixels) && pixels.Length == size)
                    Array.Clear(pixels, 0, pixels.Length);
                else
                    pixels = new byte[size];
                record = Add(pixels, width, height, (PixelFormat)format);
            });
            return record;
        };
        internal static readonly Native.Release Release = record => Calls.Guard(() => Drop(record));

        // Pixels across and down, and bytes, of a sample of each pixel format.
        static readonly int[,] samples =
        {
            { 1, 1, 1 }, { 1, 1, 1 }, { 1, 1, 4 }, { 1, 1, 4 }, { 2, 1, 4 }, { 2, 1, 4 },
            { 1, 1, 1 }, { 2, 2, 4 }, { 16, 16, 384 }
        };
        static readonly ConcurrentDictionary<IntPtr, Frame> held =
            new ConcurrentDictionary<IntPtr, Frame>();
        static readonly ConcurrentQueue<byte[]> idle = new ConcurrentQueue<byte[]>();

        internal static IntPtr Hold(byte[] pixels, int width, int height, PixelFormat format)
        {
            if (!Enum.IsDefined(typeof(PixelFormat), format) || width < 0 || height < 0 ||
                width % samples[(int)format, 0] != 0 || height % samples[(int)format, 1] != 0 ||
                pixels.Length != BytesOf(format, width, height))
                throw new ArgumentException(
                    $"{pixels.Length} bytes are no picture of {width} x {height} in {format}");
            return Add(pixels, width, height, format, true);
        }

        internal static Frame Held(IntPtr record) => record == IntPtr.Zero ? null : held[record];

        internal static void Drop(IntPtr record)
        {
            Frame frame;
            if (!held.TryRemove(record, out frame))
                return;
            frame.Pin.Free();
            Marshal.FreeHGlobal(record);
            if (Reuse && !frame.Wrapped && idle.Count < MostIdle)
                idle.Enqueue(frame.Pixels);
        }

        static long BytesOf(PixelFormat format, int width, int height)
        {
            return (long)(width / samples[(int)format, 0]) * (height / samples[(int)format, 1]) *
                samples[(int)format, 2];
        }

        static IntPtr Add(byte[] pixels, int width, int height, PixelFormat format,
                          bool wrapped = false)
        {
            var frame = new Frame { Pixels = pixels, Format = format, Wrapped = wrapped };
            frame.Width = width;
            frame.Height = height;
            IntPtr record = Marshal.AllocHGlobal(112);
            frame.Pin = GCHandle.Alloc(pixels, GCHandleType.Pinned);
            Marshal.WriteIntPtr(record, 0, frame.Pin.AddrOfPinnedObject());
            // Rows of gray pictures have no padding only if the line size says so.
            Marshal.WriteInt32(record, 64, width);
            Marshal.WriteInt32(record, 104, width);
            Marshal.WriteInt32(record, 108, height);
            held[record] = frame;
            return record;
        }
    }

    // A block of memory (ztlib_blob).
    [StructLayout(LayoutKind.Sequential)]
    struct Blob
    {
        internal IntPtr Data;
        internal ulong Size;
    }

    // Keeps an array where it is during a call.
    sealed class Pin : IDisposable
    {
        internal Blob Blob;
        GCHandle pin;

        internal Pin(Array array)
        {
            if (array == null)
                throw new ArgumentNullException(nameof(array));
            pin = GCHandle.Alloc(array, GCHandleType.Pinned);
            Blob = new Blob { Data = pin.AddrOfPinnedObject(), Size = (ulong)array.Length };
        }

        public void Dispose() => pin.Free();
    }

    sealed class ImageHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        ImageHandle() : base(true) { }

        protected override bool ReleaseHandle()
        {
            Native.ztlib_ztimage_destroy(handle);
            return true;
        }
    }

    sealed class EncoderHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        EncoderHandle() : base(true) { }

        protected override bool ReleaseHandle()
        {
            Native.ztlib_encoder_destroy(ref handle);
            return true;
        }
    }

    sealed class DecoderHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        DecoderHandle() : base(true) { }

        // The library gets the address of the handle, because it may replace the decoder.
        internal void Process(ImageHandle image, byte[] frame)
        {
            bool added = false;
            try
            {
                DangerousAddRef(ref added);
                Native.ztlib_decoder_process(ref handle, image, frame, (uint)frame.Length);
            }
            finally
            {
                if (added)
                    DangerousRelease();
            }
        }

        protected override bool ReleaseHandle()
        {
            Native.ztlib_decoder_destroy(ref handle);
            return true;
        }
    }

    sealed class MotionHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        MotionHandle() : base(true) { }

        protected override bool ReleaseHandle()
        {
            Native.ztlib_simplemotion_destroy(handle);
            return true;
        }
    }

    sealed class TriangulationHandle : SafeHandleZeroOrMinusOneIsInvalid
    {
        TriangulationHandle() : base(true) { }

        protected override bool ReleaseHandle()
        {
            Native.ztlib_triangulation_destroy(handle);
            return true;
        }
    }

    // The 45 exports as include/ztlib.h declares them.
    static class Native
    {
        const string Library = "ztlib";
        const CallingConvention C = CallingConvention.Cdecl;

        [UnmanagedFunctionPointer(C)]
        internal delegate void Output(IntPtr user, IntPtr data, uint size);
        [UnmanagedFunctionPointer(C)]
        internal delegate void Logger(int level, IntPtr text);
        [UnmanagedFunctionPointer(C)]
        internal delegate void Handler(IntPtr text);
        [UnmanagedFunctionPointer(C)]
        internal delegate IntPtr Allocate(int width, int height, int format);
        [UnmanagedFunctionPointer(C)]
        internal delegate void Release(IntPtr frame);
        [UnmanagedFunctionPointer(C)]
        internal delegate void Third();

        // Loads the library that ZTLIB_LIBRARY names; one that is loaded is found by its name.
        internal static void Load()
        {
            string file = Environment.GetEnvironmentVariable("ZTLIB_LIBRARY");
            if (!string.IsNullOrEmpty(file) &&
                (Path.DirectorySeparatorChar == '\\' ? LoadLibraryW(file) : dlopen(file, 2)) ==
                    IntPtr.Zero)
                throw new DllNotFoundException(file);
        }

        [MethodImpl(MethodImplOptions.NoInlining)]
        internal static void Register()
        {
            ztlib_registerExceptionHandler(Calls.Handle);
            ztlib_registerAVFrameMgr(FrameManager.Allocate, FrameManager.Release, null, 0);
        }

        [DllImport("kernel32", CharSet = CharSet.Unicode, ExactSpelling = true)]
        static extern IntPtr LoadLibraryW(string file);
        [DllImport("libdl.so.2", CallingConvention = C)]
        static extern IntPtr dlopen(string file, int flags);

        [DllImport(Library, CallingConvention = C)]
        internal static extern IntPtr ztlib_context_create();
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_context_destroy();
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_registerLogger(Logger callback);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_registerExceptionHandler(Handler handler);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_registerAVFrameMgr(
            Allocate allocate, Release release, Third third, byte keepExisting);

        [DllImport(Library, CallingConvention = C)]
        internal static extern ImageHandle ztlib_ztimage_create();
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_ztimage_destroy(IntPtr image);
        [DllImport(Library, CallingConvention = C)]
        internal static extern ImageHandle ztlib_ztimage_create_avframe(int format, IntPtr frame);
        [DllImport(Library, CallingConvention = C)]
        internal static extern IntPtr ztlib_ztimage_get_avframe(ImageHandle image);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_ztimage_saveToZTMem(
            ImageHandle image, IntPtr user, Output output);
        [DllImport(Library, CallingConvention = C)]
        [return: MarshalAs(UnmanagedType.I1)]
        internal static extern bool ztlib_ztimage_loadFromZTMem(ImageHandle image, ref Blob memory);

        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getPixelXByVirtualX(int virtualX, int width);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getPixelYByVirtualY(int virtualY, int height);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getVirtualXByPixelX(int pixelX, int width);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getVirtualYByPixelY(int pixelY, int height);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getScaleDownByPixel1(int target, int width, int height);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getScaleDownByPixel3(
            int target, int format, int width, int height);

        [DllImport(Library, CallingConvention = C)]
        internal static extern DecoderHandle ztlib_decoder_create(int format);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_decoder_destroy(ref IntPtr decoder);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_decoder_config(DecoderHandle decoder, ref Blob config);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_decoder_process(
            ref IntPtr decoder, ImageHandle image, byte[] data, uint size);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_decoder_setBaseImage(
            DecoderHandle decoder, ImageHandle image);

        [DllImport(Library, CallingConvention = C)]
        internal static extern EncoderHandle ztlib_encoder_create(int format);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_encoder_destroy(ref IntPtr encoder);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_encoder_config(EncoderHandle encoder, ref Blob config);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_encoder_process(
            EncoderHandle encoder, IntPtr user, Output output, ImageHandle image, byte key);

        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_copyAndAddHeader(
            IntPtr user, Output output, byte[] jpeg, uint size);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_getFrameInfo1(
            ref Blob frame, ref int width, ref int height, ref int format, ref int differential,
            ref int refresh, ref int frameType, IntPtr user, Output output);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_getFrameInfo2(
            IntPtr data, uint size, ref int width, ref int height, ref int format,
            ref int differential, ref int refresh, ref int frameType, ref IntPtr payload,
            ref uint payloadSize);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getVideoFormat(ref Blob frame);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_getLayerCount(ref Blob frame);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_getLayerSizes(ref Blob frame, [In, Out] uint[] sizes);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_composeFromLayers(
            IntPtr user, Output output, IntPtr[] layers, int count);
        [DllImport(Library, CallingConvention = C)]
        internal static extern int ztlib_decomposeToLayers(
            ref Blob frame, IntPtr[] users, Output output);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void idct8x8_mmx([In, Out] short[] block);

        [DllImport(Library, CallingConvention = C)]
        internal static extern MotionHandle ztlib_simplemotion_create();
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_simplemotion_destroy(IntPtr context);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_simplemotion_configure(
            MotionHandle context, ref Blob config, int width, int height);
        [DllImport(Library, CallingConvention = C)]
        [return: MarshalAs(UnmanagedType.I1)]
        internal static extern bool ztlib_simplemotion_detect(
            MotionHandle context, IntPtr user, Output output, ImageHandle image, long timestampMs);

        [DllImport(Library, CallingConvention = C)]
        internal static extern TriangulationHandle ztlib_triangulation_create();
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_triangulation_destroy(IntPtr handle);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_triangulation_init(
            TriangulationHandle handle, int x0, int y0, int x1, int y1, int dimensions);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_triangulation_addPoint(
            TriangulationHandle handle, int x, int y, float[] values, int count);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_triangulation_finalize(TriangulationHandle handle);
        [DllImport(Library, CallingConvention = C)]
        internal static extern void ztlib_triangulation_estimate(
            TriangulationHandle handle, int x, int y, [In, Out] float[] values, int count);
    }
}
