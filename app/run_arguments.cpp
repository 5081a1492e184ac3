#include "app/run_arguments.h"

#include <QFileInfo>

namespace osmera {

LRunArguments ParseRunArguments(const QStringList& arguments) {
    LRunArguments parsed;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            parsed.help = true;
        } else if (argument == QLatin1String("--version")) {
            parsed.version = true;
        } else if (argument == QLatin1String("-batch")) {
            if (i + 1 < arguments.size())
                parsed.batchScript = arguments.at(i + 1);
            break;
        } else if (argument == QLatin1String("/install")) {
            parsed.install = true;
            break;
        } else if (argument == QLatin1String("--install")) {
            parsed.install = parsed.installNow = true;
            break;
        } else if (argument == QLatin1String("--uninstall")) {
            parsed.uninstall = true;
            break;
        } else if (argument == QLatin1String("-runedit")) {
            parsed.runEdit = true;
        } else if (!QFileInfo(argument).suffix().isEmpty() &&
                   argument.endsWith(QLatin1String(".omp"), Qt::CaseInsensitive)) {
            parsed.projects << argument;
        } else if (!argument.isEmpty()) {
            parsed.files << argument;
        }
    }
    return parsed;
}

QString RunArgumentsHelp() {
    return QStringLiteral(
        "Usage: osmera [options] [FILE...]\n"
        "Osmera, a desktop audio editor. Each FILE opens in its own window; when an editor\n"
        "is already running, the file opens there and this run ends.\n"
        "\n"
        "  -batch SCRIPT   run SCRIPT in the batch converter of the (running) editor\n"
        "  -runedit        edit a file for another program (no splash window)\n"
        "  /install        finish the installation: as --install, in the editor\n"
        "  --install       add this copy of the program to the desktop's menus and file\n"
        "                  associations for the current user (under ~/.local/share)\n"
        "  --uninstall     remove what --install added\n"
        "  NAME.omp        load a project\n"
        "  --help          show this text\n"
        "  --version       show the version\n"
        "\n"
        "Without a display, use osmera-cli for conversion, scripts, playing and recording.\n");
}

}  // namespace osmera
