// The editing commands of batch scripts: documents, selection and cursor, the clipboard,
// edits of ranges, undo, information and saving. Each edit goes through the controller's
// undo bracket exactly as the editor's menu commands do, so `undo` in a script behaves as
// Ctrl+Z does in the editor.

#include <algorithm>
#include <cstdlib>
#include <string>

#include "core/sound_time.h"
#include "edit/audio_cut_tank.h"
#include "edit/document_io.h"
#include "effects/script_commands.h"
#include "formats/audio_format.h"

namespace osmera {
namespace {

using Args = const LScriptArgs&;

int32_t Rate(const LOMFile& doc) {
    return static_cast<int32_t>(doc.audio.GetSampleRate());
}

std::string EditMessage(LEditResult result) {
    switch (result) {
        case LEditResult::kDone:
            return {};
        case LEditResult::kNoDocument:
            return kNoDocumentMessage;
        case LEditResult::kNoSelection:
            return "nothing is selected (use select or select-all first)";
        case LEditResult::kClipboardEmpty:
            return "the clipboard is empty (use cut or copy first)";
        case LEditResult::kChannelsDiffer:
            return "the clipboard and the document differ in channels";
        case LEditResult::kTankFull:
            return kCutTankFullMessage;
    }
    return "failed";
}

// `text` in double quotes, with a tab written as \t and quotes and backslashes escaped.
std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '\t') {
            out += "\\t";
        } else {
            if (c == '"' || c == '\\')
                out += '\\';
            out += c;
        }
    }
    return out + '"';
}

std::string Open(LScriptContext& ctx, Args args) {
    std::string message;
    std::string warning;
    ctx.controller.OpenDocument(args.Path(0), &ctx.progress, &message, &warning);
    // A file that did not open whole still opened: say so, one line per fact, and go on.
    for (size_t at = 0; at < warning.size();) {
        const size_t end = std::min(warning.find('\n', at), warning.size());
        ctx.Note("warning: " + warning.substr(at, end - at));
        at = end + 1;
    }
    return message;
}

std::string CheckNew(Args args) {
    if (args.Int(0) < 1 || args.Int(0) > 1000000)
        return "the rate must be 1 to 1000000 Hz";
    if (args.Int(1) < 1 || args.Int(1) > 2)
        return "a document has 1 or 2 channels";
    return {};
}

std::string New(LScriptContext& ctx, Args args) {
    ctx.controller.NewDocument(static_cast<uint32_t>(args.Int(0)),
                               static_cast<uint8_t>(args.Int(1)));
    return {};
}

std::string Select(LScriptContext& ctx, Args args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    doc->SetSelection(args.Frames(0, Rate(*doc)), args.Frames(1, Rate(*doc)));
    return {};
}

std::string SelectAll(LScriptContext& ctx, Args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    doc->SetSelection(0, doc->audio.GetLength());
    return {};
}

std::string Cursor(LScriptContext& ctx, Args args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    doc->cursor = args.Frames(0, Rate(*doc));
    return {};
}

std::string InsertSilence(LScriptContext& ctx, Args args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    const int32_t at = args.Frames(0, Rate(*doc));
    const int32_t length = args.Frames(1, Rate(*doc));
    if (length < 0)
        return "the length of silence cannot be negative";
    return EditMessage(ctx.controller.CmInsertSilence(at, length));
}

std::string Info(LScriptContext& ctx, Args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    const LSoundTime length(doc->audio.GetLength(), Rate(*doc));
    const std::string line =
        "name=" + Quoted(doc->GetDisplayName()) + " rate=" + std::to_string(Rate(*doc)) +
        " channels=" + std::to_string(doc->audio.GetChannels()) +
        " frames=" + std::to_string(length.GetSamples()) +
        " time=" + LSoundTime::FormatHundredths(length.GetMilliseconds()) +
        " entries=" + std::to_string(doc->audio.GetEntries().size()) +
        " cursor=" + std::to_string(doc->cursor) + " selection=" + std::to_string(doc->selStart) +
        "-" + std::to_string(doc->selEnd) + " modified=" + std::to_string(doc->modified) +
        " undo=" + Quoted(ctx.controller.GetUndoMenuItem().text);
    ctx.Print(line);
    return {};
}

// A whole number of `text` within [lo, hi], or `lo - 1` when it is none.
long SaveNumber(const std::string& text, long lo, long hi) {
    char* end = nullptr;
    const long v = std::strtol(text.c_str(), &end, 10);
    return (end == text.c_str() || *end != '\0' || v < lo || v > hi) ? lo - 1 : v;
}

std::string CheckSave(Args args) {
    if (args.HasOption("bits")) {
        const std::string& b = args.Option("bits");
        if (b != "8" && b != "16" && b != "24" && b != "32")
            return "--bits must be 8, 16, 24 or 32";
    }
    if (args.HasOption("format") && !FindWriteFormat(args.Option("format")))
        return "unknown --format " + args.Option("format") + "; the formats are " +
               WriteFormatNames();
    if (args.HasOption("quality") && SaveNumber(args.Option("quality"), 0, 10) < 0)
        return "--quality must be a whole number from 0 to 10";
    if (args.HasOption("bitrate") && SaveNumber(args.Option("bitrate"), 6, 512) < 6)
        return "--bitrate must be from 6 to 512 kbit/s";
    if (args.HasOption("compression") && SaveNumber(args.Option("compression"), 0, 8) < 0)
        return "--compression must be from 0 to 8";
    return {};
}

std::string Save(LScriptContext& ctx, Args args) {
    if (!ctx.Document())
        return kNoDocumentMessage;
    // Without --bits the document keeps the width it was opened with; the writer is the
    // one --format or the path's extension selects.
    LWriteOptions options;
    if (args.HasOption("bits"))
        options.bits = std::stoi(args.Option("bits"));
    if (args.HasOption("format"))
        options.format = args.Option("format");
    if (args.HasOption("quality"))
        options.quality = static_cast<double>(SaveNumber(args.Option("quality"), 0, 10));
    if (args.HasOption("bitrate"))
        options.bitrate = static_cast<int32_t>(SaveNumber(args.Option("bitrate"), 6, 512));
    if (args.HasOption("compression"))
        options.compression = static_cast<int32_t>(SaveNumber(args.Option("compression"), 0, 8));
    std::string message;
    ctx.controller.SaveCurrentFile(args.Count() ? args.Path(0) : std::string(), options,
                                   &ctx.progress, &message);
    return message;
}

std::string Close(LScriptContext& ctx, Args) {
    LOMFile* doc = ctx.Document();
    if (!doc)
        return kNoDocumentMessage;
    ctx.controller.CloseDocument(doc);
    return {};
}

}  // namespace

void RegisterEditScriptCommands(LScriptCommandTable& table) {
    using A = LScriptArg;
    table.Add({"open", "open PATH", {A::kPath}, 1, {}, Open});
    table.Add({"new", "new RATE CHANNELS", {A::kInt, A::kInt}, 2, {}, New, CheckNew});
    table.Add({"select", "select START END", {A::kTime, A::kTime}, 2, {}, Select});
    table.Add({"select-all", "select-all", {}, 0, {}, SelectAll});
    table.Add({"cursor", "cursor POS", {A::kTime}, 1, {}, Cursor});
    table.Add({"cut", "cut", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmCut());
               }});
    table.Add({"copy", "copy", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmCopy());
               }});
    table.Add({"paste", "paste", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmPaste());
               }});
    table.Add({"paste-over", "paste-over", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmPasteOver());
               }});
    table.Add({"delete", "delete", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmDelete());
               }});
    table.Add({"trim", "trim", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmTrim());
               }});
    table.Add({"trim-start", "trim-start", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmTrimStart());
               }});
    table.Add({"trim-end", "trim-end", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmTrimEnd());
               }});
    table.Add({"silence", "silence", {}, 0, {}, [](LScriptContext& ctx, Args) {
                   return EditMessage(ctx.controller.CmSilence());
               }});
    table.Add({"insert-silence",
               "insert-silence POS LENGTH",
               {A::kTime, A::kTime},
               2,
               {},
               InsertSilence});
    table.Add({"undo", "undo", {}, 0, {}, [](LScriptContext& ctx, Args) -> std::string {
                   if (!ctx.Document())
                       return kNoDocumentMessage;
                   ctx.controller.CmUndo();
                   return {};
               }});
    table.Add({"info", "info", {}, 0, {}, Info});
    table.Add({"save",
               "save [PATH] [--bits 8|16|24|32] [--format NAME] [--quality Q] [--bitrate KBPS] "
               "[--compression 0-8]",
               {A::kPath},
               0,
               {"bits", "format", "quality", "bitrate", "compression"},
               Save,
               CheckSave});
    table.Add({"close", "close", {}, 0, {}, Close});
}

}  // namespace osmera
