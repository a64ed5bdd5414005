#pragma once

#include <QFileDialog>

#include <functional>

// Names for the files that lists and charts are written to.

// What a list is called: its form's caption.
QString ListTitle(const QWidget& list);
// A name made of title and time, in the folder where the last file went.
QString ProposedFile(QString title, QStringView ending);
// The name that the user gives the file, with the ending proposed where it has none, once it may take the
// place of another; empty where they do not.
QString AskFile(QWidget* parent, const QString& caption, const QString& proposed, const QString& filter,
    QFileDialog::Options options = {});
// Runs the dialog, then what is to be done where it was accepted, and frees it. The window that it stands
// over may go meanwhile and take it along: then it was not accepted, and that window is not to be touched.
bool RunDialog(QDialog* dialog, const std::function<void()>& accepted);
// Where the last file went, for as long as the program runs.
QString KeptFolder();
void KeepFolder(const QString& folder);
