#include "ConvertCommand.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <map>
#include <system_error>

#include "KorvaPixelFormats.h"
#include "OutputPicture.h"
#include "PairPolicy.h"
#include "PhaseAlign.h"
#include "PixelFormatNames.h"
#include "QuirkNotes.h"
#include "ToolSupport.h"

namespace fs = std::filesystem;

namespace {

// Lines of one file's report, printed together once its conversion is done,
// so that progress on a terminal never tears them apart.
class Report {
public:
    void Say(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        char line[1024];
        va_list args;
        va_start(args, format);
        std::vsnprintf(line, sizeof line, format, args);
        va_end(args);
        mText += line;
    }
    void Note(const std::string& text) { Say("  note: %s\n", text.c_str()); }
    void Flush()
    {
        std::fputs(mText.c_str(), stdout);
        std::fflush(stdout);
        mText.clear();
    }

private:
    std::string mText;
};

class Progress {
public:
    explicit Progress(size_t total) : mTotal(total), mShown(total > 1 && isatty(fileno(stderr)) != 0) {}
    void Show(size_t index, const std::string& path) const
    {
        if (mShown)
            std::fprintf(stderr, "\r\033[K[%zu/%zu] %s", index + 1, mTotal, path.c_str());
    }
    void Clear() const
    {
        if (mShown)
            std::fprintf(stderr, "\r\033[K");
    }

private:
    size_t mTotal;
    bool mShown;
};

bool Fail(const std::string& message)
{
    std::fprintf(stderr, "frameconv: %s\n", message.c_str());
    return false;
}

int Exit(const std::string& message, int status)
{
    Fail(message);
    return status;
}

// Where each input's result goes. --out names a file for one input (its
// extension says the kind), a folder when it ends in '/' or is one.
bool PlanOutputs(const CommandLine& line, const PixelFormatInfo& to, std::vector<std::string>& targets,
                 std::string& folder)
{
    std::error_code ec;
    const bool toFolder = line.out.empty() || line.out.back() == '/' || fs::is_directory(line.out, ec);
    if (!toFolder) {
        if (line.files.size() > 1)
            return Fail("--out " + line.out + " names one file for " + std::to_string(line.files.size()) +
                        " inputs; give a folder ending in '/'");
        const OutputPicture::Kind kind = OutputPicture::KindOf(line.out);
        if (line.raw && kind != OutputPicture::Kind::Raw && kind != OutputPicture::Kind::Unknown)
            return Fail("--raw writes the result's bytes, not a picture; name the file .raw, not " + line.out);
        if (!line.raw && (kind == OutputPicture::Kind::Unknown || kind == OutputPicture::Kind::Raw))
            return Fail("cannot write " + line.out + ": pictures are .png, .ppm or .pgm (or --raw for bytes)");
        const int channels = OutputPicture::Channels(to.code, line.keepAlpha);
        if (kind == OutputPicture::Kind::Pgm && channels != 1)
            return Fail(std::string("a PGM holds grey, and ") + to.name + " is colour; use .ppm or .png");
        if (kind == OutputPicture::Kind::Ppm && channels != 3)
            return Fail(std::string("a PPM holds RGB, and ") + to.name +
                        (channels == 1 ? " is grey; use .pgm or .png" : " keeps alpha; use .png"));
        const fs::path parent = fs::path(line.out).parent_path();
        if (!parent.empty() && !fs::is_directory(parent, ec))
            return Fail("cannot write " + line.out + ": the folder " + parent.string() + " does not exist");
        targets.push_back(line.out);
        return true;
    }
    folder = line.out.empty() ? "." : line.out;
    std::map<std::string, std::string> taken;
    for (const std::string& path : line.files) {
        const std::string name = fs::path(path).stem().string() + "." + to.name + (line.raw ? ".raw" : ".png");
        const std::string target = (fs::path(folder) / name).string();
        const auto clash = taken.find(target);
        if (clash != taken.end())
            return Fail(clash->second + " and " + path + " would both be written to " + target);
        taken[target] = path;
        targets.push_back(target);
    }
    return true;
}

}  // namespace

int ConvertCommand::Run(IKVImgManager* manager, const CommandLine& line)
{
    const PixelFormatInfo& to = *PixelFormatNames::FindByName(line.to);
    if (!line.raw && OutputPicture::Channels(to.code, line.keepAlpha) == 0)
        return Exit(std::string(to.name) + " has no picture view; write its bytes with --raw", 2);
    std::vector<std::string> targets;
    std::string folder;
    if (!PlanOutputs(line, to, targets, folder))
        return 2;

    // Every input is read and judged before anything is written.
    for (const std::string& path : line.files) {
        Frame frame;
        std::vector<std::string> notes;
        std::string error;
        if (!InputFrame::Load(path, line.input, frame, notes, error))
            return Exit(error, 1);
        uint32_t source = frame.code;
        if (line.alignPhase && PhaseAlign::Applies(frame.code, to.code)) {
            if (frame.width < 3)
                return Exit(path + ": too narrow for --align-phase", 1);
            source = PhaseAlign::AlignedCode(frame.code);
        }
        const PairCheck check = PairPolicy::Check(source, to.code);
        if (!PairPolicy::MayRun(check))
            return Exit(path + ": " + PixelFormatNames::NameOf(source) + " -> " + to.name + " refused: " +
                        check.reason, 1);
    }

    FrameConverter converter(manager);
    if (!converter.ready())
        return Exit("the plug-in created no image objects", 1);
    std::string error;
    if (!folder.empty() && !ToolSupport::EnsureDirectory(folder, error))
        return Exit(error, 1);

    const KORVA_Demosaic method = ToolSupport::MethodOf(line.method);
    const Progress progress(line.files.size());
    int status = 0;
    for (size_t n = 0; n < line.files.size(); ++n) {
        const std::string& path = line.files[n];
        progress.Show(n, path);
        Report report;
        Frame frame;
        std::vector<std::string> notes;
        if (!InputFrame::Load(path, line.input, frame, notes, error)) {
            progress.Clear();
            Fail(error);
            status = 1;
            continue;
        }
        report.Say("%s: %d x %d %s -> %s\n", path.c_str(), frame.width, frame.height,
                   PixelFormatNames::NameOf(frame.code).c_str(), to.name);
        for (const std::string& note : notes)
            report.Note(note);
        if (line.alignPhase) {
            Frame aligned;
            if (PhaseAlign::Applies(frame.code, to.code) && PhaseAlign::Align(frame, aligned)) {
                report.Note("--align-phase: first column dropped, the mosaic declared " +
                            PixelFormatNames::NameOf(aligned.code) + "; the result is " +
                            std::to_string(aligned.width) + " pixels wide");
                frame = std::move(aligned);
            } else {
                report.Note("--align-phase changes nothing here: it concerns GR and BG mosaics to colour formats");
            }
        }
        const PairCheck check = PairPolicy::Check(frame.code, to.code);
        if (check.verdict == PairVerdict::WritesNothing)
            report.Note(check.reason + "; the output holds zeros");
        std::vector<uint32_t> offered;
        converter.Destinations(frame.code, offered);
        bool listed = false;
        for (uint32_t c : offered)
            listed = listed || c == to.code;
        if (!listed)
            report.Note(std::string(to.name) + " is not among the destinations the plug-in lists for " +
                        PixelFormatNames::NameOf(frame.code) + "; doTransform runs the converter anyway");

        int rc = converter.Load(frame);
        if (rc != RESULT_OK) {
            report.Say("  failed: the image object refused the frame: %d (%s); nothing written\n", rc,
                       ToolSupport::ResultName(rc));
            progress.Clear();
            report.Flush();
            Fail(path + ": the image object refused the frame (" + ToolSupport::ResultName(rc) + ")");
            status = 1;
            continue;
        }
        const bool bayer = ToolSupport::IsBayer(frame.code);
        Balance balance = line.balance;
        if (bayer && line.autoBalance) {
            rc = converter.MeasureBalance(balance);
            if (rc == RESULT_OK) {
                report.Say("  measured balance R %.4f G %.4f B %.4f\n", balance.red, balance.green, balance.blue);
            } else {
                balance = Balance();
                report.Note(std::string("the balance could not be measured (") + ToolSupport::ResultName(rc) +
                            "; 8-bit mosaics with usable cells only); using 1 1 1");
            }
        } else if (!bayer && (line.hasBalance || line.autoBalance)) {
            report.Note("colour balance applies to Bayer sources only; ignored");
        }
        const ConversionResult result = converter.Convert(to.code, method, bayer ? &balance : nullptr);
        report.Say("  %s, result %d (%s), %.1f MP/s\n",
                   ToolSupport::MethodLabel(frame.code, to.code, line.method).c_str(), result.code,
                   ToolSupport::ResultName(result.code),
                   ToolSupport::MegapixelsPerSecond(frame.width, frame.height, result.seconds));
        for (const Quirk& quirk : QuirkNotes::ForPair(frame.code, to.code, method))
            report.Note(quirk.text);
        if (result.code != RESULT_OK) {
            report.Say("  failed: doTransform answered %d (%s); nothing written\n", result.code,
                       ToolSupport::ResultName(result.code));
            progress.Clear();
            report.Flush();
            Fail(path + ": doTransform answered " + ToolSupport::ResultName(result.code) + "; nothing written");
            status = 1;
            continue;
        }
        double figure = 0.0;
        if (check.verdict == PairVerdict::Allowed && converter.ResultAverage(figure) == RESULT_OK)
            report.Say("  brightness figure of the result (getAverage) %.1f\n", figure);

        const std::string& target = targets[n];
        bool written = false;
        if (line.raw) {
            written = ImageFile::WriteRaw(target, result.buffer.data(), static_cast<size_t>(result.imageBytes),
                                          error);
        } else {
            SampleImage picture;
            written = OutputPicture::Make(frame.code, to.code, frame.width, frame.height, result.buffer.data(),
                                          static_cast<size_t>(result.imageBytes), line.keepAlpha, picture, error);
            if (written) {
                for (const Quirk& quirk : QuirkNotes::ForSamples(picture.samples, picture.significantBits,
                                                                 picture.maxValue))
                    report.Note(quirk.text);
                const int bits = picture.significantBits;
                if (bits > 8 && bits < 16)
                    report.Note(std::to_string(bits) + "-bit samples " +
                                (OutputPicture::KindOf(target) == OutputPicture::Kind::Png
                                     ? "left-aligned in 16-bit PNG samples, sBIT " + std::to_string(bits)
                                     : "with maxval " + std::to_string((1 << bits) - 1)) +
                                "; --raw keeps them as stored");
                written = OutputPicture::Write(target, picture, error);
            }
        }
        if (written)
            report.Say("  wrote %s\n", target.c_str());
        else
            report.Say("  failed: %s; nothing written\n", error.c_str());
        progress.Clear();
        report.Flush();
        if (!written) {
            Fail(path + ": " + error + "; nothing written");
            status = 1;
        }
    }
    return status;
}
