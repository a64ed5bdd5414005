#pragma once

#include "runtime/data/DataSource.h"
#include "runtime/ui/DBGrid.h"

#include <QLineEdit>

class QLabel;
class QTimer;

// What a paged lookup asks the server for.
struct TPageRequest {
    QString typed; // beginning of a code, name or phone number; empty: all
    QString afterKey; // the key of the row before the page; empty: the first page
    QString scope; // the owning site; empty: every site
    int pageSize = 20;
};

QString EmployeePageQuery(const TPageRequest& request);
QString CustomerPageQuery(const TPageRequest& request);

// A box whose drop-down list comes from the server a page at a time: typing asks, after a short pause, for
// the rows that begin with the text; Page Up and Page Down turn pages; Enter or a click takes the row; Esc
// closes the list. A server's refusal is shown in the list's foot, and typing goes on.
class TDBPageLookup : public QLineEdit {
    Q_OBJECT
    Q_PROPERTY(QString Text READ Text WRITE SetText)
public:
    TDBPageLookup(QWidget* parent, const QString& name);
    ~TDBPageLookup() override;

    void SetRemoteServer(TSocketConnectionEx* connection);
    // Only rows of this owning site; empty: every site.
    void SetScope(const QString& site);

    // The name shown; setting it asks nothing.
    QString Text() const { return text(); }
    void SetText(const QString& text);
    // The key (code) of the row taken; empty when the text was typed and no row taken.
    const QString& KeyValue() const noexcept { return keyValue_; }

    // The rows of the present page, readable after the list closed.
    TClientDataSetEx& ListDataSet() noexcept { return *list_; }
    TDBGridEh& ListGrid() noexcept { return *grid_; }
    bool ListVisible() const;
    // Asks for the first page of what is typed, and shows it.
    void DropDown();
    void CloseUp(bool accept);
    void NextPage();
    void PriorPage();
    const QString& LastError() const noexcept { return lastError_; }

    int PauseMilliseconds = 250; // between the last key and the question

    std::function<void()> OnChange; // the text changed, typed or taken
    std::function<void()> OnUpdateData; // a row was taken
    std::function<void()> OnExit;

protected:
    virtual QString PageQuery(const TPageRequest& request) const = 0;
    void SetFields(const QString& keyField, const QString& nameField, std::vector<TColumnEh> columns);

    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool LoadPage(const QString& afterKey);
    void ShowList();
    void ShowFoot();

    TClientDataSetEx* list_;
    TDataSource* source_;
    QWidget* popup_;
    TDBGridEh* grid_;
    QLabel* foot_;
    QTimer* pause_;
    QString keyField_, nameField_, scope_, keyValue_, lastError_;
    std::vector<QString> pageStarts_; // key before each page up to the present one
    TPageRequest shown_;
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
