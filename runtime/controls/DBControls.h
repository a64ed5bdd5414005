#pragma once

#include "runtime/Export.h"
#include "runtime/controls/DateTimeText.h"
#include "runtime/data/DataSource.h"
#include "runtime/grid/DBGrid.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <functional>
#include <memory>

// Controls that show a field of a dataset's current row, or stand free as filter controls while no source is
// set. Typing puts the row in edit; what was typed reaches the field when the control is left, on Enter, and
// before every post. A value that the field cannot take stays in the control, marked, with a message.
// Each is known by its objectName.

class TTextMark;

// Brings the beginning of a long text into sight, unless the user is at work in the box.
RUNTIME_EXPORT void ShowBeginning(QLineEdit& box);
// Shows another text from its beginning; the same text is left as it is.
RUNTIME_EXPORT void ShowText(QLineEdit& box, const QString& text);

// Behaviour shared by all of them.
class RUNTIME_EXPORT TDBBinding : public QObject {
    Q_OBJECT
public:
    explicit TDBBinding(QWidget* control);
    void SetDataSource(TDataSource* source);
    TDataSource* DataSource() const noexcept;
    void SetDataField(QStringView fieldName);
    const QString& DataField() const noexcept;
    bool Bound() const noexcept;
    TField* Field() const noexcept; // nullptr while closed or unbound
    bool ReadOnly() const noexcept;
    // The control looks it, too.
    void SetReadOnly(bool on);

    std::function<void()> Show; // field → control
    std::function<bool()> Write; // control → field; false when the text was refused
    // The user changed the control: puts the row in edit. False when the dataset refused.
    bool Changed();
    // Writes when changed.
    bool Commit();
    bool Modified() const noexcept;
    // True while `Show` runs: what the control reports then is no user's doing.
    bool Showing() const noexcept;

private:
    void Attach(TClientDataSetEx* dataSet);
    void Forget();
    void Refresh();

    class Private;
    std::shared_ptr<Private> d_;
};

class RUNTIME_EXPORT TDBEditEh : public QLineEdit {
    Q_OBJECT
public:
    explicit TDBEditEh(QWidget* parent = nullptr, const QString& name = {});
    TDBBinding& Binding() noexcept { return *binding_; }
    QString Text() const { return text(); }
    void SetText(const QString& text);
    std::function<void()> OnExit;
    std::function<void()> OnChange;

protected:
    void focusOutEvent(QFocusEvent* event) override;

private:
    TDBBinding* binding_;
};

// Shows and takes "yyyy-mm-dd hh:mm:ss" (or the part of it that Kind says), also typed in the other ways that
// ReadDateTime knows; text that is no date is kept as typed, with the form told at the box, for the caller to
// judge. Over a text field (a time "08:00:00") it stores the text in that form. A drop-down calendar on
// Alt+Down or the button.
class RUNTIME_EXPORT TDBDateTimeEditEh : public QLineEdit {
    Q_OBJECT
public:
    explicit TDBDateTimeEditEh(QWidget* parent = nullptr, const QString& name = {});
    TDBBinding& Binding() noexcept { return *binding_; }
    TDateTimeKind Kind = TDateTimeKind::DateTime;
    // In the form of its kind; as typed where it is no date.
    QString Text() const;
    void SetText(const QString& text);
    // Whether the text can be taken, or is empty; where not, the form is told at the box.
    bool CheckText();
    std::function<void()> OnChange;
    std::function<void()> OnExit;
    void DropDown();
    // As wide as the longest text of its kind.
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Tidy();
    bool StepPart(int steps);
    TDBBinding* binding_;
    TTextMark* mark_;
};

class RUNTIME_EXPORT TDBComboBoxEh : public QComboBox {
    Q_OBJECT
    Q_PROPERTY(QString Text READ Text WRITE SetText)
public:
    explicit TDBComboBoxEh(QWidget* parent = nullptr, const QString& name = {});
    TDBBinding& Binding() noexcept { return *binding_; }
    // Texts shown, and the values behind them (none: the texts themselves).
    void SetItems(const QStringList& items, const QStringList& keyItems = {});
    QStringList Items() const;
    const QStringList& KeyItems() const noexcept { return keyItems_; }
    QString Text() const { return currentText(); }
    void SetText(const QString& text);
    int ItemIndex() const; // of the text shown; -1 when it is none of the items
    QString Value() const; // the key of the item shown, or the text
    std::function<void()> OnChange;
    std::function<void()> OnExit;

protected:
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void UserChanged();
    TDBBinding* binding_;
    QStringList keyItems_;
};

// An editable box with a drop-down list of several columns over a list dataset; typing searches as it goes. A
// text that no row holds is marked.
class RUNTIME_EXPORT TDBLookupComboboxEh : public QLineEdit {
    Q_OBJECT
public:
    explicit TDBLookupComboboxEh(QWidget* parent = nullptr, const QString& name = {});
    ~TDBLookupComboboxEh() override;
    TDBBinding& Binding() noexcept { return *binding_; }
    void SetLookup(const TLookupParams& params);
    const TLookupParams& Lookup() const noexcept;
    QString Text() const { return text(); }
    void SetText(const QString& text);
    // The key of the chosen row, or of the first row whose list field equals the text; the text itself when
    // there is none.
    QString KeyValue() const;
    // The list's row that was taken, for names that repeat. Holds in OnUpdateData and as long as the text
    // stands; 0 for a text that was typed in full or set.
    TBookmark ChosenRow() const;
    // A field of the chosen row, or of the first row whose list field equals the text; empty when there is
    // none.
    QString ListText(QStringView field) const;
    // Completes the text as CompleteLookup does; the row so found is then the chosen one.
    void Complete();
    bool ListVisible() const;
    void DropDown();
    void CloseUp(bool accept);

    std::function<void(QKeyEvent* event)> OnKeyDown; // accept the event to eat it
    std::function<void()> OnExit;
    std::function<void()> OnChange;
    std::function<void()> OnUpdateData; // a row was chosen, before its key is written

protected:
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void Take(int listRow);
    void MarkUnknown();
    class Private;
    TDBBinding* binding_;
    std::unique_ptr<Private> d_;
};

class RUNTIME_EXPORT TDBCheckBoxEh : public QCheckBox {
    Q_OBJECT
public:
    explicit TDBCheckBoxEh(QWidget* parent = nullptr, const QString& name = {});
    TDBBinding& Binding() noexcept { return *binding_; }
    QString ValueChecked = QStringLiteral("1");
    QString ValueUnchecked = QStringLiteral("0");

private:
    TDBBinding* binding_;
};

class RUNTIME_EXPORT TDBMemo : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit TDBMemo(QWidget* parent = nullptr, const QString& name = {});
    TDBBinding& Binding() noexcept { return *binding_; }

protected:
    void focusOutEvent(QFocusEvent* event) override;

private:
    TDBBinding* binding_;
};
