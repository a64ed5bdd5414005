#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/ui/Forms.h"

#include <QAbstractButton>

#include <memory>

class TDataView;

// What every screen of the module is: an MDI child that announces itself to the host's main form, turns the
// host's search to its list, guards unsaved edits, and frees itself on close.
//
// A screen's life, every step a virtual function:
//
//     constructor       datasets and whatever else has no window, each with its objectName and the screen as
//                       parent
//     CreateControls()  controls and views, laid out and bound
//     FormCreate()      the host is told, datasets get their connection, the storage is attached; what
//                       depends on them and on the user comes after the base's own part
//     FirstLoad()       the queries that a screen opens with, under the busy cursor
//     FormShow()        calls Setup(); again whenever the screen was hidden
//     FormClose()       asks about unsaved edits, lets go of everything
//     FormDestroy()     closes what is still open
//
// MakeScreen() runs the first four. Name and caption are those of the screen's row in the screen table.
class Tfrm_Basic : public TForm {
    Q_OBJECT
    // What the host reads of a screen, by name.
    Q_PROPERTY(QAbstractButton* QueryButton READ QueryButton)
    Q_PROPERTY(QAbstractButton* SaveButton READ SaveButton)
    Q_PROPERTY(TClientDataSetEx* DataSet READ DataSet)
    Q_PROPERTY(QStringList ActionKeys READ KeyTexts) // "words<Tab>keys", its main list's last
    Q_PROPERTY(bool Right1 MEMBER Right1)
    Q_PROPERTY(bool Right2 MEMBER Right2)
    Q_PROPERTY(bool Right3 MEMBER Right3)
public:
    explicit Tfrm_Basic(QObject* owner);
    ~Tfrm_Basic() override;

    // The steps from name and caption to the first load; once, by MakeScreen().
    void Create();

    bool Quiet = false; // no question about unsaved changes, no activation notices

    TDataView* DataView() const noexcept;
    // Another view than before becomes the target of the host's search at once.
    void SetDataView(TDataView* view);
    TClientDataSetEx* DataSet() const noexcept { return dataSet_; }
    void SetDataSet(TClientDataSetEx* dataSet) { dataSet_ = dataSet; }
    QAbstractButton* QueryButton() const noexcept { return queryButton_; }
    void SetQueryButton(QAbstractButton* button) { queryButton_ = button; }
    QAbstractButton* SaveButton() const noexcept { return saveButton_; }
    void SetSaveButton(QAbstractButton* button) { saveButton_ = button; }

    bool Right1 = false;
    bool Right2 = false;
    bool Right3 = false;
    QPointer<QWidget> HostMainForm;

    virtual void SetQuiet() { Quiet = true; }
    // The variable that holds this screen; cleared when the screen closes or dies.
    void SetFormVar(Tfrm_Basic** variable) { FormVar = variable; }
    // Three characters; "1" grants.
    void SetRights(const QString& code);
    void Setup(TDataView* view, TClientDataSetEx* dataSet, QAbstractButton* saveButton,
        QAbstractButton* queryButton);

    QStringList KeyTexts() const;

    // Turns the host's search to the grid of the main list, or to none.
    void ResetSearch();

    bool FormKeyDown(QKeyEvent* event) override;

    // Esc, where no control takes it: back to the first page and its list, or from another list to the main
    // one. False where the user is there already.
    bool ReturnToList();

protected:
    virtual void CreateControls() = 0;
    virtual void FormCreate();
    virtual void FirstLoad() { }
    void FormActivate() override;
    TCloseAction FormClose() override;
    void keyPressEvent(QKeyEvent* event) override;
    // Closes what is still open; the destructor's part.
    void FormDestroy();

    // Keeps the mark of unsaved edits on the window's tab.
    void WatchUnsavedEdits();
    // Every dataset of the screen, in the order of creation.
    std::vector<TClientDataSetEx*> OwnedDataSets() const;

private:
    Tfrm_Basic** FormVar = nullptr;
    QPointer<TDataView> dataView_;
    QPointer<TClientDataSetEx> dataSet_;
    QPointer<QAbstractButton> queryButton_;
    QPointer<QAbstractButton> saveButton_;
    bool passingKeyOn_ = false;
};

// Makes a screen. Raises what a step of its beginning raises, and leaves no screen behind.
template <typename TScreenClass> TScreenClass* MakeScreen(QObject* owner)
{
    auto screen = std::make_unique<TScreenClass>(owner);
    screen->Create();
    return screen.release();
}
