#pragma once

#include "import/ImportRun.h"
#include "runtime/ui/Forms.h"

#include <QPointer>

#include <future>

class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

// The dialog of an import: a file, what of it goes where, the run, and what was left over. Frees itself when
// it closes.
class Tfrm_Import : public TForm {
    Q_OBJECT
public:
    // A file without headings of its own is read from this row and column, counted from 1.
    Tfrm_Import(QObject* owner, TDBGridEh& grid, QAbstractButton* save, int firstRow, int firstColumn);

    bool FormKeyDown(QKeyEvent* event) override;

protected:
    TCloseAction FormClose() override;
    void showEvent(QShowEvent* event) override;

private:
    QPushButton* AddButton(const QString& name, const QString& caption, void (Tfrm_Import::*handler)());
    void Button1Click();
    void Button2Click();
    void Button3Click();
    void Button4Click();
    void Button5Click();

    // The path typed, chosen, or given beforehand; empty: none.
    QString AskPath(bool toSave, const QString& suggestion);
    void Load(const QString& path);
    void TakeSheet();
    void ShowPlan();
    void ShowOutcome(const TImportOutcome& outcome);
    void ShowRows(std::vector<TColumnEh> columns, const std::vector<QStringList>& cells);
    void SetBusy(bool busy);

    QLabel* Label1; // what is going on
    TDBGridEh* Grid1; // the plan, then what was left over
    QProgressBar* ProgressBar1;
    QPushButton* Button1; // 选择文件
    QPushButton* Button2; // 保存模板
    QPushButton* Button3; // 导入
    QPushButton* Button4; // 另存未导入的
    QPushButton* Button5; // 关闭, 停止 during the run
    TClientDataSetEx* list_;
    QTimer* poll_; // until the file is read

    TImportGrid target_;
    QPointer<QAbstractButton> save_;
    int firstRow_;
    int firstColumn_;
    QString path_; // of the file
    std::future<TSheet> reading_;
    TSheet sheet_;
    TImportPlan plan_;
    std::vector<TImportRefusal> refused_;
    bool busy_ = false;
    bool stopped_ = false;
};
