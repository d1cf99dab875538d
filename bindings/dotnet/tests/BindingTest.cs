// BindingTest.exe ztlib.h [LAYERED.zts]: goes through every export of the library.
using System;
using System.Collections;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
using System.Threading;
using Ztlib;

static class BindingTest
{
    static readonly List<string> log = new List<string>();

    static void Check(bool holds, string what)
    {
        if (!holds)
            throw new Exception(what);
    }

    static void Same<T>(IEnumerable<T> values, params T[] expected)
    {
        Check(values.SequenceEqual(expected), $"{string.Join(" ", values)}, expected: " +
            string.Join(" ", expected));
    }

    static T Throws<T>(string pattern, Action action) where T : Exception
    {
        try
        {
            action();
        }
        catch (T failure)
        {
            Check(Regex.IsMatch(failure.Message, pattern), failure.ToString());
            return failure;
        }
        throw new Exception($"not thrown: {pattern}");
    }

    static byte[] Picture(int width = 64, int height = 48)
    {
        var pixels = Enumerable.Repeat((byte)128, width * height * 4).ToArray();
        for (int i = 0; i < width * height; i++)
            pixels[i * 4] = (byte)((i % width * 2 + i / width) % 200);
        return pixels;
    }

    static Image Yuv(int width = 64, int height = 48)
    {
        return new Image(Picture(width, height), width, height, PixelFormat.Yuv);
    }

    static byte[] JpegFrame()
    {
        using (var encoder = new Encoder(VideoFormat.Mjpeg, 64, 48))
            return encoder.Process(Yuv());
    }

    // Pointers are told from numbers by their size alone.
    static void DeclarationsAreThoseOfTheHeader(string header)
    {
        var sizes = new Dictionary<string, int> { { "void", 0 }, { "bool", 1 }, { "uint8_t", 1 },
            { "int32_t", 4 }, { "uint32_t", 4 }, { "int64_t", 8 } };
        Type native = typeof(Image).Assembly.GetType("Ztlib.Native");
        const BindingFlags All = BindingFlags.Static | BindingFlags.NonPublic;
        var declared = native.GetMethods(All).Where(
            m => Regex.IsMatch(m.Name, "^(ztlib_|idct)")).ToDictionary(m => m.Name);
        MatchCollection found = Regex.Matches(header, @"^ZTLIB_API ([^;]*?)(\w+)\(([^;]*)\);",
                                              RegexOptions.Multiline);
        Check(found.Count == 45 && declared.Count == 45, $"{found.Count}, {declared.Count}");
        foreach (Match export in found)
        {
            MethodInfo method = declared[export.Groups[2].Value];
            string texts = export.Groups[1].Value + "x," + export.Groups[3].Value;
            int[] expected = Regex.Split(texts, ",").Where(text => text != "void").Select(text =>
                sizes.TryGetValue(Regex.Replace(text, @"\b\w+\s*$", "").Trim(), out int size)
                    ? size : 8).ToArray();
            var types = new[] { method.ReturnType }.Concat(
                method.GetParameters().Select(p => p.ParameterType));
            Same(types.Select(type => type == typeof(void) ? 0 : type == typeof(bool) ? 1 :
                type.IsPrimitive && type != typeof(IntPtr) ? Marshal.SizeOf(type) : 8), expected);
            Check(method.ReturnType != typeof(bool) || method.ReturnParameter.GetCustomAttribute<
                MarshalAsAttribute>().Value == UnmanagedType.I1, method.Name);
        }
    }

    static void Pictures()
    {
        var bytes = new[] { 1, 1, 4, 4, 2, 2, 1, 1, 1.5 };
        foreach (PixelFormat format in Enum.GetValues(typeof(PixelFormat)))
        {
            var pixels = new byte[(int)(64 * 48 * bytes[(int)format])];
            var copy = new Image();
            using (var image = new Image(pixels, 64, 48, format))
            {
                pixels[pixels.Length - 1] = 1;
                Check(image.Pixels == pixels && image.Width == 64 && image.Height == 48, "wrapped");
                copy.Load(image.Save());
                image.Dispose();
                Throws<ObjectDisposedException>(".", () => image.Save());
            }
            Same(copy.Pixels, pixels);
            Check(copy.Format == format, "format");
            Throws<ArgumentException>(".", () => new Image(new byte[7], 64, 48, format));
        }
        Throws<ArgumentException>("65", () => new Image(new byte[6144], 65, 48, PixelFormat.Yuyv));
        Throws<ArgumentException>("99", () => new Image(new byte[1], 1, 1, (PixelFormat)99));
        var empty = new Image();
        Check(empty.Pixels == null && empty.Width == 0 && empty.Format == null, "empty");
        Throws<ZtlibException>("empty|[Nn]ull|assigned", () => empty.Save());
        Throws<ZtlibException>("Invalid or nullptr memory!", () => empty.Load(new byte[5]));
        byte[] block = Yuv().Save();
        Context.PixelLimit = 64 * 48 - 1;
        Exception failure = Throws<ZtlibException>(".", () => empty.Load(block));
        Check(failure.InnerException is OutOfMemoryException, "inner exception");
        Context.PixelLimit = 1 << 26;
        Same(new[] { Coordinates.PixelX(8192, 640), Coordinates.PixelY(4096, 480),
            Coordinates.VirtualX(320, 640), Coordinates.VirtualY(120, 480) }, 320, 120, 8192, 4096);
        Same(new[] { Coordinates.ScaleDown(320, 1280, 960),
            Coordinates.ScaleDown(320, 1280, 960, PixelFormat.Yuv420Block) }, 4, 4);
        Throws<ZtlibException>("Invalid range",
            () => Coordinates.ScaleDown(320, 1280, 960, (PixelFormat)99));
    }

    static void Video()
    {
        foreach (VideoFormat video in new[] { VideoFormat.Mjpeg, VideoFormat.MjpegDiff })
        {
            var quality = new Dictionary<string, object> { { "JPEGQuality", 95 } };
            using (var encoder = new Encoder(video, 64, 48, quality))
            using (var decoder = new Decoder(video, PixelFormat.Yuv))
            {
                byte[] frame = encoder.Process(Yuv(), true);
                FrameInfo info = CodedFrame.Info(frame);
                Same(new[] { info.Width, info.Height, (int)info.Format, info.Differential,
                    info.FrameType, info.Payload.Offset, info.Payload.Count },
                    64, 48, (int)video, 0, 0, 112, frame.Length - 112);
                Same(CodedFrame.Payload(frame), frame.Skip(112).ToArray());
                Image image = decoder.Process(frame);
                Check(image.Pixels.Zip(Picture(), (a, b) => Math.Abs(a - b)).Where(
                    (_, i) => i % 4 == 0).Average() < 4, "pixels");
                decoder.SetBaseImage(image);
                Check(decoder.Process(encoder.Process(image), image) == image, "the same image");
                Throws<Exception>(".", () => encoder.Process(Yuv(32, 16)));
                if (video == VideoFormat.MjpegDiff)  // another decoder takes the place of this one
                    Throws<ZtlibException>("Wrong format", () => decoder.Process(JpegFrame()));
                decoder.Configure(PixelFormat.Gray);
                Check(decoder.Process(JpegFrame()).Format == PixelFormat.Gray, "another image");
            }
            Throws<ZtlibException>("no such Encoder", () => new Encoder((VideoFormat)99, 64, 48));
        }
        byte[] jpeg = JpegFrame();
        Check(new Decoder(scale: 2).Process(jpeg).Width == 32, "scale");
        Check(CodedFrame.FormatOf(CodedFrame.AddHeader(CodedFrame.Payload(jpeg))) ==
            VideoFormat.Mjpeg && (int)CodedFrame.FormatOf(new byte[0]) == -1, "format");
        Throws<ZtlibException>("Unknown exception!",
            () => new Decoder().Process(jpeg.Take(300).ToArray()));
        Throws<ZtlibException>(".", () => CodedFrame.Info(new byte[5]));
        Check(log.Any(line => line.StartsWith("1 ")), "no failure in the log");
        var block = new short[64];
        block[0] = 64;
        CodedFrame.InverseTransform(block);
        Check(block.All(value => value == block[0] && value != 0), "transform");

        Check(Layers.Count(jpeg) == 0 && Layers.Decompose(jpeg).Count == 0, "no layers");
        Same(Layers.Sizes(jpeg), 0, 0, 0, 0);
        Throws<ZtlibException>(".", () => Layers.Compose(new byte[5]));
    }

    static void RecordingOfLayers(string path)
    {
        byte[] frame = Recording.Frames(path).First();
        IList<byte[]> records = Layers.Decompose(frame);
        Check(Layers.Count(frame) == 4 && Layers.Sizes(frame).All(size => size > 0) &&
            records.Count == 4, "layers");
        var decoder = new Decoder(VideoFormat.Layered, PixelFormat.Yuv);
        byte[] whole = decoder.Process(frame).Pixels;
        Same(decoder.Process(Layers.Compose(records.ToArray())).Pixels, whole);
        byte[] one = Layers.Compose(records[0]);
        Check(!decoder.Process(one).Pixels.SequenceEqual(whole), "one layer");
        string cut = path + ".cut";
        File.WriteAllBytes(cut, frame.Concat(frame.Take(100)).ToArray());
        Throws<InvalidDataException>("100 bytes before", () => Recording.Frames(cut).Count());
    }

    static void Analysis()
    {
        var left = new short[] { 0, 0, 8192, 0, 8192, 16384, 0, 16384 };
        var motion = new Motion();
        motion.Configure(new Dictionary<string, object> { { "ViolationTimeMs", 0L }, { "Configs",
            new object[] { new Dictionary<string, object> { { "Masks", new[] { left } } },
                new Dictionary<string, object>() } } }, 66, 48);
        var pixels = new byte[66 * 48];
        var image = new Image(pixels, 66, 48, PixelFormat.Gray);  // rows without padding
        IDictionary<string, object> result = null;
        for (int frame = 0; frame <= 120; frame++)
        {
            for (int i = 0; i < pixels.Length; i++)
                pixels[i] = (byte)(frame == 120 && i % 66 / 20 == 0 ? 200 : 50 + frame % 2);
            Check(motion.Detect(image, frame * 100, out result) == (frame == 120), "signal");
        }
        var areas = ((List<object>)result["Motions"]).Cast<Dictionary<string, object>>().ToList();
        bool[,] moving = Motion.Bitmap((Binary)areas[0]["Motion"]);
        Check(moving.GetLength(0) == 48 && moving[24, 10] && !moving[24, 50], "bitmap");
        Same((short[])((List<object>)areas[0]["Masks"])[0], left);
        Check((ulong)result["TimestampMs"] == 12000, "time");
        Throws<ZtlibException>(".", () => motion.Detect(new Image(), 0, out result));

        var points = new Triangulation(0, 0, 12, 12, 2);
        for (int i = 0; i < 144; i += 3)
            points.AddPoint(i % 12, i / 12, 2 * (i % 12) - i / 12, 7);
        points.Complete();
        Same(points.Estimate(4, 5), 3f, 7f);
        Throws<NullReferenceException>(".", () => points.AddPoint(0, 0, null));
        points.Dispose();
        points.Dispose();
        Throws<ObjectDisposedException>(".", () => points.Estimate(0, 0));
    }

    static void Trees()
    {
        var values = new Dictionary<string, object> { { "bool", true }, { "byte", (byte)200 },
            { "short", (short)-2 }, { "int", -3 }, { "long", 1L << 40 }, { "time", ulong.MaxValue },
            { "double", 0.5 }, { "string", "a\u00e9" }, { "wide", new Wide("w\u20ac") },
            { "bytes", new byte[] { 0, 1 } }, { "shorts", new short[] { 1, -2 } },
            { "id", new Guid("00010203-0405-0607-0809-0a0b0c0d0e0f") },
            { "binary", new Binary(new byte[] { 7 }) },
            { "node", new Dictionary<string, object>() },
            { "list", new object[] { 1, new object[] { false } } },
            { "mixed", new Elements { { "a", 1 }, { "a", 2 }, { "", 3 } } } };
        byte[] block = Tree.Dump(values);
        var loaded = (Dictionary<string, object>)Tree.Load(block);
        Same(Tree.Dump(loaded), block);
        foreach (string name in "bool byte short int long time double string id".Split())
            Check(loaded[name].Equals(values[name]), name);
        Check(loaded["mixed"] is Elements && ((Wide)loaded["wide"]).Text == "w\u20ac", "types");
        string bytes = BitConverter.ToString(block);
        Check(bytes.Contains("47-02-69-64-10-00-00-00-00-01-02-03-04-05-06-07-08") &&
            bytes.Contains("2A-06-73-68-6F-72-74-73-05-00-00-00-32-01-00-FE-FF") &&
            bytes.Contains("54-04-74-69-6D-65-08-00-00-00-FF") &&
            bytes.Contains("58-06-62-69-6E-61-72-79-02-00-00-00-00-07"), bytes);
        for (int cut = 0; cut < block.Length - 1; cut++)
        {
            try
            {
                Tree.Load(block.Take(cut).ToArray());
            }
            catch (FormatException) { }
        }
        object deep = 1;
        for (int level = 0; level < 258; level++)
            deep = new[] { deep };
        foreach (object wrong in new[] { null, 1f, deep })
            Throws<ArgumentException>("a tree has no", () => Tree.Dump(new[] { wrong }));
        Throws<ArgumentException>("128 bytes", () => Tree.Dump(
            new Elements { { new string('n', 128), 1 } }));
        byte[] nested = Enumerable.Range(0, 400).Reverse().SelectMany(level => new byte[] {
            (byte)'@', 0 }.Concat(BitConverter.GetBytes(6 * level))).ToArray();
        Throws<FormatException>("'@'", () => Tree.Load(nested));
    }

    // The first thread fails while the second is inside a call, which waits for the logger's lock.
    static void EachThreadHasItsOwnFailures()
    {
        byte[] cut = JpegFrame().Take(300).ToArray();
        var inside = new ManualResetEvent(false);
        string first = null, second = null;
        var thread = new Thread(() => first = Throws<ZtlibException>(".",
            () => new Decoder().Process(cut)).Message);
        Context.AddLogger((level, text) =>
        {
            if (Thread.CurrentThread != thread || level != 1)
                return;
            inside.Set();
            Thread.Sleep(50);
        });
        thread.Start();
        inside.WaitOne();
        second = Throws<ZtlibException>(".", () => new Image().Load(new byte[5])).Message;
        thread.Join();
        Check(first == "Unknown exception!", first);
        Check(second.EndsWith("Invalid or nullptr memory!"), second);
    }

    static void MemoryIsGivenBack()
    {
        var held = (ICollection)typeof(Image).Assembly.GetType("Ztlib.FrameManager").GetField(
            "held", BindingFlags.Static | BindingFlags.NonPublic).GetValue(null);
        byte[] frame = new Encoder(VideoFormat.MjpegDiff, 64, 48).Process(Yuv());
        GC.Collect();
        GC.WaitForPendingFinalizers();
        int before = held.Count;
        var arrays = new List<WeakReference>();
        for (int round = 0; round < 50; round++)
        {
            using (var decoder = new Decoder(VideoFormat.MjpegDiff))
            using (Image image = decoder.Process(frame))
                arrays.Add(new WeakReference(image.Pixels));
        }
        GC.Collect();
        Check(held.Count <= before, $"{held.Count} frames and not {before}");
        Check(arrays.Count(array => array.IsAlive) < 25, "arrays stay in memory");

        Context.ReuseArrays = true;
        byte[] own = Picture(), first = null;
        new Image(own, 64, 48).Dispose();
        using (var decoder = new Decoder())
        {
            for (int round = 0; round < 3; round++)
            {
                using (Image image = decoder.Process(JpegFrame()))
                {
                    Check(round == 0 ? image.Pixels != own : image.Pixels == first, "other array");
                    first = image.Pixels;
                }
            }
        }
        Context.ReuseArrays = false;
    }

    static void CallbacksThatThrow()
    {
        var answers = new Queue<Exception>(new[] { new KeyNotFoundException("from the logger") });
        Context.AddLogger((level, text) =>
        {
            Coordinates.PixelX(1, 1);  // a call inside a call
            if (answers.Count > 0)
                throw answers.Dequeue();
        });
        Exception failure = Throws<ZtlibException>("Unknown exception!",
            () => new Decoder().Process(JpegFrame().Take(300).ToArray()));
        Check(failure.InnerException is KeyNotFoundException, "inner exception");
        answers.Enqueue(failure);
        Check(Throws<ZtlibException>(".", () => new Decoder((VideoFormat)99)) == failure, "alone");
    }

    static int Main(string[] arguments)
    {
        using (new Context())
        {
            Context.AddLogger((level, text) =>
            {
                lock (log)
                    log.Add($"{level} {text}");
            });
            DeclarationsAreThoseOfTheHeader(File.ReadAllText(arguments[0]));
            Pictures();
            Video();
            if (arguments.Length > 1)
                RecordingOfLayers(arguments[1]);
            Analysis();
            Trees();
            EachThreadHasItsOwnFailures();
            CallbacksThatThrow();
            MemoryIsGivenBack();
        }
        int count = log.Count;
        Throws<ZtlibException>(".", () => new Image().Save());
        Check(log.Count == count, "a context ends the loggers");
        FailUntilTheEnd();
        return 0;
    }

    // The program ends in the midst of these calls and their callbacks, and has to end well.
    static void FailUntilTheEnd()
    {
        Context.AddLogger((level, text) => Thread.Yield());
        for (int number = 0; number < 8; number++)
        {
            new Thread(() =>
            {
                for (var image = new Image(); ;)
                    Throws<ZtlibException>(".", () => image.Save());
            }) { IsBackground = true }.Start();
        }
        Thread.Sleep(50);
    }
}
