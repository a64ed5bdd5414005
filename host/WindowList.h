#pragma once

#include <QActionGroup>
#include <QObject>
#include <QPointer>

#include <functional>
#include <vector>

class QMenu;
class QTabBar;

// The open screens, as tabs above the work area and as entries at the end of a menu. Fed by what the screens
// announce: being created, activated, closed.
class TWindowList : public QObject {
    Q_OBJECT
public:
    TWindowList(QTabBar* tabs, QMenu* menu, QObject* owner);

    void Add(QWidget* screen);
    void SetActive(QWidget* screen);
    void Remove(QObject* screen);
    int Count() const noexcept { return static_cast<int>(screens_.size()); }
    // By object name, in the order of the tabs.
    QStringList ScreenNames() const;

    bool eventFilter(QObject* screen, QEvent* event) override;

Q_SIGNALS:
    void Chosen(QWidget* screen);
    void CloseWanted(QWidget* screen);
    void CountChanged(int count);
    void ModifiedChanged(); // a screen has something to save, or no longer

private:
    struct TEntry {
        QObject* key; // still known while the screen is being destroyed
        QPointer<QWidget> screen;
        QAction* action;
    };
    int IndexOf(const QObject* screen) const noexcept;
    void ShowTitle(const QWidget* screen);

    QTabBar* tabs_;
    QMenu* menu_;
    QActionGroup group_;
    std::vector<TEntry> screens_; // parallel to the tabs
};
