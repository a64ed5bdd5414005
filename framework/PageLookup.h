#pragma once

#include "runtime/controls/TextMark.h"
#include "runtime/data/DataSource.h"
#include "runtime/data/SocketConnection.h"
#include "runtime/grid/DBGrid.h"

#include <QHash>
#include <QLineEdit>

class QFrame;
class QLabel;
class QTimer;

// What a paged lookup asks the server for.
struct TPageRequest {
    QString typed{}; // beginning of a code, name or phone number; empty: all
    QString afterKey{}; // the key of the row before the page; empty: the first page
    QString scope{}; // the owning site; empty: every site
    int pageSize = 20;
};

QString EmployeePageQuery(const TPageRequest& request);
QString CustomerPageQuery(const TPageRequest& request);

// A box whose drop-down list comes from the server a page at a time: typing asks, after a short pause, for
// the rows that begin with the text; Page Up and Page Down turn pages; Enter or a click takes the row; Esc
// closes the list. A text that is a row's code to the letter, or the name of one row alone, is that row when
// the box is left; any other stays as typed, and is marked where the server has no such row, or maybe
// several. A server's refusal is shown in the list's foot, and typing goes on.
class TDBPageLookup : public QLineEdit {
    Q_OBJECT
    Q_PROPERTY(QString Text READ Text WRITE SetText)
public:
    // Names of the columns by which rows are known and shown.
    struct TFields {
        QString key;
        QString name;
        std::vector<TColumnEh> columns;
    };

    TDBPageLookup(QWidget* parent, const QString& name, TFields fields);
    ~TDBPageLookup() override;

    // The host's connection when none is set.
    void SetRemoteServer(TSocketConnectionEx* connection);
    // Only rows of this owning site; empty: every site.
    void SetScope(const QString& site) { scope_ = site; }

    // The name shown; setting it asks nothing.
    QString Text() const { return text(); }
    void SetText(const QString& text);
    // The row taken, as it was then, whatever the list shows by now; none once the text is typed or set anew.
    bool HasTaken() const noexcept { return !taken_.isEmpty(); }
    QString Taken(QStringView field) const { return taken_.value(field.toString().toUpper()); }
    // Its key (code).
    QString KeyValue() const { return Taken(fields_.key); }

    // The rows of the present page, readable after the list closed.
    TClientDataSetEx& ListDataSet() noexcept { return *list_; }
    bool ListVisible() const;
    // Asks for the first page of what is typed, and shows it; after a row was taken, for the first page of
    // all.
    void DropDown();
    // Closes the list, taking its current row when `accept`.
    void CloseUp(bool accept);
    void NextPage();
    void PriorPage();
    int Page() const noexcept
    {
        return static_cast<int>(pageStarts_.size());
    } // 1…; 0 before the first question
    // Why the last question got no rows; empty when it was answered.
    const QString& LastError() const noexcept { return lastError_; }

    int PauseMilliseconds = 250; // between the last key and the question

    std::function<void()> OnChange; // the text changed, typed or taken
    std::function<void()> OnUpdateData; // a row was taken
    std::function<void()> OnExit;

protected:
    virtual QString PageQuery(const TPageRequest& request) const = 0;

    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ComposeList();
    void FollowTyping();
    bool HandleListKey(QKeyEvent* event);
    void Enter();
    void AskFirstPage(const QString& typed);
    bool AskPage(const QString& afterKey);
    void Take();
    void TakeExactMatch();
    int Namesakes(const QString& name) const; // rows of that very name on the page
    void MarkUnknown();
    void ShowList();
    void ShowFoot();

    TFields fields_;
    TClientDataSetEx* list_;
    TDataSource* source_;
    QFrame* popup_;
    TDBGridEh* grid_;
    QLabel* foot_;
    QTimer* pause_;
    TTextMark* mark_;
    QString scope_;
    QHash<QString, QString> taken_; // by field, upper case
    QString lastError_;
    QString asked_; // what the present page was asked for
    std::vector<QString> pageStarts_; // the key before each page up to the present one
    bool typing_ = false; // the text was typed, and no row taken since
    bool chosen_ = false; // the user moved in the list
};

class TDBPageLookup_Employee : public TDBPageLookup {
    Q_OBJECT
public:
    TDBPageLookup_Employee(QWidget* parent, const QString& name);

protected:
    QString PageQuery(const TPageRequest& request) const override;
};

class TDBPageLookup_Customer : public TDBPageLookup {
    Q_OBJECT
public:
    TDBPageLookup_Customer(QWidget* parent, const QString& name);

protected:
    QString PageQuery(const TPageRequest& request) const override;
};
