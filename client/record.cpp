#include "client/commands.h"
#include "client/console.h"
#include "client/frame_file.h"
#include "client/input_files.h"
#include "client/media_input.h"
#include "client/picture_io.h"
#include "client/recorder.h"
#include "client/several_inputs.h"

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

CDone RecordOne(const CRecordOptions& options, std::size_t index, CProgressBar& progress) {
  const std::string& name = options.inputs[index];
  COutputs outputs(FilesOf(options.inputs), {options.output});
  CMediaInput input(name);
  CRecorder recorder(input, options.settings);
  std::optional<CFrameFileWriter> file;
  std::optional<CQualityMeter> meter;
  if (options.hasPsnr) meter.emplace();
  while (recorder.Step()) {
    if (!file) file.emplace(outputs, options.output, EUnfinished::kept);
    file->Write(recorder.Coder().Coded());
    if (meter) meter->Add(recorder);
    progress.Show(recorder.Frames(), recorder.Share(), index);
  }
  recorder.CheckNotEmpty();
  file->Close();
  if (const std::string damage = input.Damage(); !damage.empty()) Complain(name + ": " + damage);

  const ztlib::EncoderSettings& coding = recorder.Coder().Settings();
  const double pixels = double(recorder.Frames()) * coding.width * coding.height;
  std::string summary =
      Text("%s: %s of %dx%d, %s, %.2f bits per pixel, converted and encoded at %.0f frames/s%s\n",
           options.output.c_str(), CountText(recorder.Frames(), "frame").c_str(), coding.width,
           coding.height, ByteText(file->Bytes()).c_str(), 8 * double(file->Bytes()) / pixels,
           recorder.Coder().FramesPerSecond(), meter ? meter->Summary().c_str() : "");
  outputs.Publish();
  return {.frames = recorder.Frames(), .summary = std::move(summary), .to = outputs.Texts()};
}

}  // namespace

int Record(const CRecordOptions& options) {
  const std::vector<std::string> names = NamesFor(options.output, options.inputs);
  // What is recorded of one input is no other one, either.
  const COutputs checked(FilesOf(options.inputs), names);
  return ForEachInput(options.inputs, options.threads, "record",
                      [&](std::size_t index, CProgressBar& progress) {
                        CRecordOptions one = options;
                        one.output = names[index];
                        return RecordOne(one, index, progress);
                      });
}
