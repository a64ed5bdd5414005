#pragma once

#include <QString>
#include <QStringList>

// The items of a list kept as text: commas separate, and so do blanks; double quotes group what holds either,
// a doubled one inside standing for itself. Two commas in a row have an empty item between them.
QStringList SplitDelimited(const QString& text);
