#pragma once

#include "framework/export/ListExport.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Forms.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

class QAction;
class QFileInfo;

// 导出: asks for rows, form and name, writes the list, then offers the folder.
class Tfrm_Export : public TForm {
    Q_OBJECT
public:
    // Does nothing while the grid shows no rows. `title` is what the list is called.
    static void Execute(TDBGridEh& grid, const QString& title);
    // The action of a list: in its cells' menu, and the host's toolbar and Ctrl+E by its name.
    static QAction* AddAction(TDBGridEh& grid);

    Tfrm_Export(QObject* owner, TDBGridEh& grid, const QString& title);
    bool FormKeyDown(QKeyEvent* event) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void Button1Click();
    void Button3Click();
    void Button4Click();
    // With the ending of the form chosen.
    QString WithEnding(QString name) const;
    void FormChosen();
    void PlaceControls();
    void Export(const QFileInfo& file);
    bool Write(TExportRows& rows, const QString& path);

    QPointer<TDBGridEh> grid_; // gone with its screen, which takes this window along
    QRadioButton* RadioButton1; // Excel 工作簿
    QRadioButton* RadioButton2; // CSV, UTF-8
    QRadioButton* RadioButton3; // CSV, code page 936
    QRadioButton* RadioButton4; // 全部行
    QRadioButton* RadioButton5; // 选中的行
    QLineEdit* Edit1; // 文件
    QLabel* Label1; // what is to be known before, and what became of it
    QPushButton* Button1; // 导出
    QPushButton* Button2; // 关闭
    QPushButton* Button3; // 浏览
    QPushButton* Button4; // 打开文件夹
};
