#pragma once

#include "host/PublishedData.h"

#include <QMainWindow>
#include <QPointer>

#include <functional>

class QAbstractButton;
class QDockWidget;
class QLabel;
class QLineEdit;
class QMdiArea;
class QStackedWidget;
class TDBGridEh;
class TForm;
class TWindowList;

// The frame around the module's screens. The module finds it as the application's main form and reads its
// properties by name; what it shows it is told by the host.
class TMainForm : public QMainWindow {
    Q_OBJECT
    // Addresses of TObjectList: shared datasets, values, trees.
    Q_PROPERTY(qulonglong GlobalCdsAddr READ GlobalCdsAddr)
    Q_PROPERTY(qulonglong GlobalValueAddr READ GlobalValueAddr)
    Q_PROPERTY(qulonglong GlobalTreeAddr READ GlobalTreeAddr)
    // Written by the module: the tree that it is about to use.
    Q_PROPERTY(QString GlobalTree READ GlobalTree WRITE SetGlobalTree)
    // The server's clock in days since 1899-12-30.
    Q_PROPERTY(double ServerDateTime READ ServerDateTime)
public:
    // `clock` gives the server's clock; it must not raise.
    TMainForm(TPublishedData& published, std::function<wire::DateTime()> clock);

    qulonglong GlobalCdsAddr() const;
    qulonglong GlobalValueAddr() const;
    qulonglong GlobalTreeAddr() const;
    QString GlobalTree() const { return globalTree_; }
    void SetGlobalTree(const QString& name);
    double ServerDateTime() const;

    // The grid that the search box looks through from now on; may be none.
    Q_INVOKABLE void ResetSearch(QWidget* grid);

    void ShowUser(const wire::Identity& identity, const QString& place);
    void ShowConnection(bool connected);
    Q_INVOKABLE void ShowNotice(const QString& text);

    QMdiArea* Area() const noexcept { return area_; }
    // The open screens by name, in the order of their tabs, the current one last.
    QStringList ScreenNames() const;
    // Asks every open screen to close, those with unsaved edits first; stops at the one that stays, which the
    // status bar then names, and gives false.
    bool CloseScreens();

    // The guide's page beside the screens; empty: of the screen in front, or the contents.
    void ShowHelp(QString page = {});
    QString ScreenPage() const;

Q_SIGNALS:
    void ScreenWanted(const QString& name);
    void ReconnectWanted();
    void ChangeUserWanted();
    void PreferencesWanted();
    // All screens are closed; `screens` were open before.
    void Leaving(const QStringList& screens);

protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildMenus();
    void BuildToolBar();
    void BuildStatusBar();
    void PressScreenButton(const char* property);
    void UpdateActions();
    void FindNext(bool backwards);
    void ShowAbout();
    void ShowClock();
    QAbstractButton* ScreenButton(const char* property) const;
    QAction* ListAction(const QString& name) const;

    TPublishedData& published_;
    std::function<wire::DateTime()> clock_;
    QString globalTree_;
    QStackedWidget* desk_; // the start page, or the area with the screens
    QMdiArea* area_;
    TWindowList* windows_ = nullptr;
    QDockWidget* help_ = nullptr; // made when first wanted
    QPointer<TDBGridEh> searchGrid_;
    QAction* queryAction_ = nullptr;
    QAction* saveAction_ = nullptr;
    QAction* exportAction_ = nullptr;
    QAction* printAction_ = nullptr;
    QAction* reconnectAction_ = nullptr;
    QList<QAction*> windowActions_; // of use only while a screen is open
    QLineEdit* searchEdit_ = nullptr;
    QLabel* siteLabel_ = nullptr;
    QLabel* employeeLabel_ = nullptr;
    QLabel* connectionLabel_ = nullptr;
    QLabel* clockLabel_ = nullptr;
    QString place_;
};
