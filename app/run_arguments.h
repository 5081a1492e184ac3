#pragma once
// The editor's run arguments, read left to right:
//   -batch SCRIPT   run SCRIPT through the batch converter; nothing after it is looked at
//   /install        finish installing (after 500 ms); nothing after it is looked at
//   --install       install into the user's desktop now, without the editor; likewise
//   --uninstall     remove that again
//   -runedit        this run edits a file for another program (no splash with a file)
//   NAME.omp        load a project
//   any other       open as an audio file
// "--help" and "--version" are answered on the terminal before anything else starts.
//
// Threads: any (plain data).

#include <QString>
#include <QStringList>

namespace osmera {

struct LRunArguments {
    bool help = false;
    bool version = false;
    QString batchScript;  // "" for none
    bool install = false;
    bool installNow = false;  // "--install": also sets `install`
    bool uninstall = false;
    bool runEdit = false;
    QStringList projects;
    QStringList files;
};

LRunArguments ParseRunArguments(const QStringList& arguments);

// The text "--help" prints.
QString RunArgumentsHelp();

}  // namespace osmera
