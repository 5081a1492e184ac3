// MainDialog: audio CDs. Load Audio CD Track(s) rips the chosen tracks into files named
// after their titles and opens each as a document; Burn Audio CD and Create ISO Image.
#include <QDir>
#include <QFileInfo>
#include <QStatusBar>

#include "app/cd_burn_dialog.h"
#include "app/cd_rip_dialog.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "devices/cd_ripper.h"
#include "devices/iso_image_writer.h"
#include "platform/qt_progress.h"

namespace osmera {

void MainDialog::CmLoadCdTracks() {
    LOMCdRipDialog dialog(settings_, &frame_);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString title = QStringLiteral("Load Audio CD Track(s)");
    QStringList reports;
    bool errors = false;
    const std::vector<int> tracks = dialog.ChosenTracks();
    for (size_t i = 0; i < tracks.size(); ++i) {
        const int track = tracks[i];
        const QString path = QDir(dialog.OutputFolder())
                                 .filePath(QString::fromStdString(CdTrackFileName(
                                               track, dialog.TrackTitle(track).toStdString())) +
                                           QStringLiteral(".") + dialog.FormatName());
        if (QFileInfo::exists(path) &&
            prompts_.AskYesNo(title,
                              QStringLiteral("\"%1\" already exists. Replace it?").arg(path)) !=
                LAnswer::kYes)
            continue;
        const LAudioTags tags = dialog.TrackTags(track);
        LSaveRequest request;
        request.options.format = dialog.FormatName().toStdString();
        request.tags = &tags;
        request.title = "Ripping track " + std::to_string(track);
        LCdRipResult r;
        {
            ++busy_;
            LQtProgress progress(&frame_, title);
            r = RipCdTrack(dialog.Disc(), track, dialog.Mode(), path.toStdString(), request,
                           &progress);
            --busy_;
        }
        if (r.job == kJobCancelled) {
            // Cancel stops this track; the user says whether the others follow.
            if (i + 1 < tracks.size() &&
                prompts_.AskYesNo(title, QStringLiteral("Track %1 was not ripped. Rip the "
                                                        "remaining tracks?")
                                             .arg(track)) == LAnswer::kYes)
                continue;
            break;
        }
        if (r.job != kJobDone) {
            prompts_.Warn(QStringLiteral("File Error"), QString::fromStdString(r.message));
            continue;
        }
        reports << QString::fromStdString(r.report.Summary());
        errors = errors || !r.report.Clean();
        OpenFile(path);
    }
    if (errors)
        prompts_.Warn(QStringLiteral("Read Errors"),
                      QStringLiteral("Some sectors could not be read:\n") +
                          reports.join(QStringLiteral("\n")));
    else if (!reports.isEmpty())
        frame_.statusBar()->showMessage(reports.join(QStringLiteral(" ")), 10000);
}

void MainDialog::CmBurnAudioCd() {
    std::vector<const LOMFile*> docs;
    for (const auto& d : controller_.GetDocuments())
        docs.push_back(d.get());
    LOMCdBurnDialog dialog(settings_, docs, &frame_);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const LCdBurnRequest request = dialog.Request();
    LCdBurnReport report;
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Burn Audio CD"));
        result = BurnAudioCd(request, &progress, report, message);
        --busy_;
    }
    QStringList notes;
    for (const std::string& n : report.notices)
        notes << QString::fromStdString(n);
    if (!notes.isEmpty())
        prompts_.Inform(QStringLiteral("Burn Audio CD"), notes.join(QStringLiteral("\n")));
    if (JobFinished(result, message))
        frame_.statusBar()->showMessage(
            QStringLiteral("%1 %2 tracks to %3.")
                .arg(request.simulate ? QStringLiteral("Simulated burning")
                                      : QStringLiteral("Burned"))
                .arg(request.tracks.size())
                .arg(QString::fromStdString(request.device)),
            10000);
}

void MainDialog::CmCreateIsoImage() {
    const QString folder = QString::fromStdString(
        settings_.GetText("CdBurn", "IsoDir", QDir::homePath().toStdString()));
    const QStringList files = prompts_.OpenFileNames(QStringLiteral("Files for the ISO Image"),
                                                     folder, {QStringLiteral("All files (*)")});
    if (files.isEmpty())
        return;
    int filter = 0;
    const QString out = prompts_.SaveFileName(QStringLiteral("Create ISO Image"),
                                              QFileInfo(files.first()).absolutePath(),
                                              {QStringLiteral("ISO images (*.iso)")}, filter);
    if (out.isEmpty())
        return;
    settings_.SetText("CdBurn", "IsoDir", QFileInfo(files.first()).absolutePath().toStdString());
    LIsoRequest request;
    for (const QString& f : files)
        request.paths.push_back(f.toStdString());
    request.volumeId = QFileInfo(out).completeBaseName().left(32).toUpper().toStdString();
    std::string message;
    int result;
    {
        ++busy_;
        LQtProgress progress(&frame_, QStringLiteral("Create ISO Image"));
        result = WriteIsoImage(request, out.toStdString(), &progress, &message);
        --busy_;
    }
    if (JobFinished(result, message))
        frame_.statusBar()->showMessage(QStringLiteral("Wrote %1.").arg(out), 10000);
}

}  // namespace osmera
