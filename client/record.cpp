#include "client/commands.h"
#include "client/console.h"
#include "client/frame_file.h"
#include "client/input_files.h"
#include "client/media_input.h"
#include "client/picture_io.h"
#include "client/progress_bar.h"
#include "client/recorder.h"

namespace {

// Plays back what was recorded.
class CQualityMeter {
 public:
  void Add(const CRecorder& recorder) {
    const CCoder& coder = recorder.Coder();
    if (!packer)
      packer.emplace(ZTLIB_YUV, CSize{coder.Settings().width, coder.Settings().height},
                     coder.Scaled());
    const ztlib::Image source = packer->Pack(recorder.Source());
    error += Compare(FrameOf(source), FrameOf(decoder.Decode(coder.Coded())));
  }
  [[nodiscard]] std::string Summary() const {
    return Text(", PSNR %.2f dB of luma and %.2f dB of chroma", error.luma.Psnr(),
                error.chroma.Psnr());
  }

 private:
  std::optional<CPacker> packer;
  ztlib::Decoder decoder{{ZTLIB_YUV}};
  CPictureError error;
};

}  // namespace

int Record(const CRecordOptions& options) {
  COutputs outputs(FilesOf(options.input), {options.output});
  CMediaInput input(options.input);
  CRecorder recorder(input, options.settings);
  std::optional<CFrameFileWriter> file;
  std::optional<CQualityMeter> meter;
  if (options.hasPsnr) meter.emplace();
  {
    CProgressBar progress("record");
    while (recorder.Step()) {
      if (!file) file.emplace(outputs, options.output, EUnfinished::kept);
      file->Write(recorder.Coder().Coded());
      if (meter) meter->Add(recorder);
      progress.Show(recorder.Frames(), recorder.Share());
    }
  }
  if (!file) {
    ThrowIfInterrupted();
    throw CError(options.input +
                 (options.settings.from == 0
                      ? ": no picture in it"
                      : Text(": no picture %" PRId64 " in it", options.settings.from)));
  }
  file->Close();
  if (const std::string damage = input.Damage(); !damage.empty())
    Complain(options.input + ": " + damage);

  const ztlib::EncoderSettings& coding = recorder.Coder().Settings();
  const double pixels = double(recorder.Frames()) * coding.width * coding.height;
  const std::string summary =
      Text("%s: %s of %dx%d, %s, %.2f bits per pixel, converted and encoded at %.0f frames/s%s\n",
           options.output.c_str(), CountText(recorder.Frames(), "frame").c_str(), coding.width,
           coding.height, ByteText(file->Bytes()).c_str(), 8 * double(file->Bytes()) / pixels,
           recorder.Coder().FramesPerSecond(), meter ? meter->Summary().c_str() : "");
  outputs.Publish();
  Print(outputs.Texts(), summary);
  return 0;
}
