// MotionAreas.exe RECORDING.zts PICTURE.ppm: draws what moves in the last picture.
//
// The left and the right half of the picture are an area each, whose moving pixels are red and
// green. Nothing is found for 3.1 s, which are 78 pictures here.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using Ztlib;
using Tagged = System.Collections.Generic.Dictionary<string, object>;

static class MotionAreas
{
    static Tagged Areas(int width, int height)
    {
        short bottom = (short)(16384 * height / width);  // units are the same on both axes
        var halves = new short[] { 0, 8192 }.Select(x => new short[]
            { x, 0, (short)(x + 8192), 0, (short)(x + 8192), bottom, x, bottom });
        return new Tagged { { "Configs", halves.Select(half => new Tagged
            { { "Masks", new[] { half } }, { "Sensitivity", 30.0 } }) } };
    }

    static void Main(string[] arguments)
    {
        IDictionary<string, object> result = null;
        Decoder decoder = null;
        Image gray = null;
        long milliseconds = 0;
        var motion = new Motion();
        foreach (byte[] frame in Recording.Frames(arguments[0]))
        {
            decoder = decoder ?? new Decoder(CodedFrame.FormatOf(frame), PixelFormat.Yuv);
            using (Image image = decoder.Process(frame))
            {
                byte[] luma = image.Pixels.Where((_, i) => i % 4 == 0).ToArray();
                if (gray == null)
                    motion.Configure(Areas(image.Width, image.Height), image.Width, image.Height);
                gray?.Dispose();
                gray = new Image(luma, image.Width, image.Height, PixelFormat.Gray);
            }
            motion.Detect(gray, milliseconds += 40, out result);
        }
        int width = gray.Width, height = gray.Height, number = 0;
        byte[] rgb = gray.Pixels.SelectMany(y => new[] { y, y, y }).ToArray();
        foreach (Tagged area in (List<object>)result["Motions"])
        {
            // The bitmap has all of the picture, whatever the mask is.
            bool[,] moving = Motion.Bitmap((Binary)area["Motion"]);
            for (int y = 0; y < height; y++)
                for (int x = number * width / 2; x < (number + 1) * width / 2; x++)
                    for (int c = 0; c < 3 && moving[y, x]; c++)
                        rgb[(y * width + x) * 3 + c] = (byte)(c == number ? 255 : 0);
            Console.WriteLine($"area {number++}: {area["DetectPercent"]} %");
        }
        byte[] head = System.Text.Encoding.ASCII.GetBytes($"P6 {width} {height} 255\n");
        File.WriteAllBytes(arguments[1], head.Concat(rgb).ToArray());
    }
}
