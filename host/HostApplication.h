#pragma once

#include <QApplication>
#include <QIcon>

// The Qt application: what a handler lets fall reaches the user as a message, never the end of the program.
class THostApplication : public QApplication {
    Q_OBJECT
public:
    THostApplication(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;
};

// Qt's own texts (context menus, file dialogs) in the users' language, and dates as they write them. False
// where Qt's translation is not installed.
bool SpeakChinese(QCoreApplication& application);
// Whether this session has a screen to draw on.
bool HasDisplay();
// The program's picture, for title bars and the system's window list.
QIcon ProgramIcon();
// The message for a system without a font for Chinese; empty where there is one.
QString FontProblem();
