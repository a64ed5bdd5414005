#pragma once

#include <QString>

class QWidget;

// Names for what lists are written to.

// What a list is called: its form's caption.
QString ListTitle(const QWidget& list);
// A name made of title and time, in the folder where the last file went.
QString ProposedFile(QString title, QStringView ending);
// Where the last file went, for as long as the program runs.
QString KeptFolder();
void KeepFolder(const QString& folder);
