#pragma once

#include "framework/print/PrintJob.h"
#include "runtime/ui/Forms.h"

#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>

#include <functional>

class QAction;
class TDataView;
class TPageOptionBoxes;
class TPagePreview;

// 打印: shows a list as pages, sends them to a printer or writes them as PDF.
class Tfrm_Print : public TForm {
    Q_OBJECT
public:
    // Says so where the list shows no rows.
    static void Execute(TDataView& view);
    // The action of a list: in its cells' menu, and the host's toolbar and Ctrl+P by its name.
    static QAction* AddAction(TDataView& view);

    Tfrm_Print(QObject* owner, TDataView& view);
    ~Tfrm_Print() override;
    bool FormKeyDown(QKeyEvent* event) override;

protected:
    void showEvent(QShowEvent* event) override;
    TCloseAction FormClose() override;

private:
    void PlaceControls();
    void WatchList();
    void MakePages();
    void Outdated();
    void ShowPageCount();
    bool Asked(const std::function<bool()>& dialog);
    void Button1Click();
    void Button2Click();
    void Button4Click();
    void Button5Click();
    void WritePdf(const QString& path);
    void Start(std::unique_ptr<TPrintTarget> target, int first, int last, const QString& done);
    void Finished(const QString& failure);
    void StopJob();
    void ShowBusy(bool busy);

    TDataView* view_; // none once it is gone
    QString path_; // of the PDF written last
    QString done_; // said when the job is done
    bool outdated_ = false;
    bool asking_ = false; // a dialog stands over this window
    std::unique_ptr<TListPages> pages_;
    std::unique_ptr<TPrintJob> job_;

    TPagePreview* Preview;
    TPageOptionBoxes* Boxes;
    QComboBox* ComboBox6; // 缩放
    QSpinBox* SpinEdit1; // 页
    QLabel* Label1; // pages, and what became of them
    QProgressBar* ProgressBar1;
    QPushButton* Button1; // 打印
    QPushButton* Button2; // 存为 PDF
    QPushButton* Button3; // 关闭; while pages are on their way 取消
    QPushButton* Button4; // 打开文件
    QPushButton* Button5; // 刷新
};
