#pragma once

#include <QWidget>

class QTreeWidget;

// What the desk shows while no screen is open: every screen by subsystem with its shortcut, to be opened with
// the arrow keys and Enter or with a click.
class TStartPage : public QWidget {
    Q_OBJECT
public:
    explicit TStartPage(QWidget* parent = nullptr);

Q_SIGNALS:
    void ScreenWanted(const QString& name);

private:
    void AddScreens();

    QTreeWidget* screens_;
};
