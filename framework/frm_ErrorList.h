#pragma once

#include "runtime/data/DataSource.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Forms.h"

class QLabel;
class QPushButton;

// The failure list: a text that names the probable cause, and the rows concerned. Closed with Esc, Enter or
// its button; Ctrl+C or "复制" puts the rows on the clipboard as a table.
class Tfrm_ErrorList : public TForm {
    Q_OBJECT
public:
    explicit Tfrm_ErrorList(QObject* owner);

    // Shows the rows in view of the open dataset until the user closes the list. `columns` empty: every field
    // under its own name.
    static void Execute(const QString& caption, const QString& text, TClientDataSetEx& rows,
        std::vector<TColumnEh> columns = {});

    void SetRows(const QString& text, TClientDataSetEx& rows, std::vector<TColumnEh> columns);
    // Titles and rows, cells separated by tabs.
    QString RowsAsText() const;

    bool FormKeyDown(QKeyEvent* event) override;

protected:
    TCloseAction FormClose() override;
    void showEvent(QShowEvent* event) override;

private:
    void Copy();

    QLabel* Label1; // the text
    TDBGridEh* Grid1; // the rows
    TDataSource* DS;
    QPushButton* Button1; // 关闭
    QPushButton* Button2; // 复制
};
