#include "client/commands.h"
#include "client/console.h"
#include "client/frame_file.h"
#include "client/media_input.h"
#include "client/progress_bar.h"
#include "client/recorder.h"

#include <filesystem>

int Record(const CRecordOptions& options) {
  std::error_code error;
  if (std::filesystem::equivalent(options.input, options.output, error))
    throw CError(options.output + ": is the input");
  CMediaInput input(options.input);
  CRecorder recorder(input, options.settings);
  std::optional<CFrameFileWriter> file;
  {
    CProgressBar progress("record");
    while (recorder.Step()) {
      if (!file) file.emplace(options.output);
      file->Write(recorder.Coder().Coded());
      progress.Show(recorder.Frames(), recorder.Share());
    }
  }
  if (!file) throw CError(options.input + ": no picture in it");
  file->Close();
  if (const std::string damage = input.Damage(); !damage.empty())
    Complain(options.input + ": " + damage);

  const CEncoderSettings& coding = recorder.Coder().Settings();
  const double pixels = double(recorder.Frames()) * coding.width * coding.height;
  Print(Output(),
        Text("%s: %s of %dx%d, %s, %.2f bits per pixel, encoded at %.0f frames/s\n",
             options.output.c_str(), CountText(recorder.Frames(), "frame").c_str(), coding.width,
             coding.height, ByteText(file->Bytes()).c_str(), 8 * double(file->Bytes()) / pixels,
             recorder.Coder().encode.RunsPerSecond()));
  return 0;
}
