#pragma once

#include "runtime/controls/DBControls.h"
#include "runtime/ui/Forms.h"

class QCheckBox;
class QPushButton;

// The transfer-site picker: chooses the site to which an order is handed on.
class Tfrm_ChangeSite : public TForm {
    Q_OBJECT
public:
    explicit Tfrm_ChangeSite(QObject* owner);

    // Shows the picker; the site chosen or typed, empty when cancelled.
    static QString Execute();

    bool FormKeyDown(QKeyEvent* event) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void FormCreate();
    void CheckBox1Click();
    void Button1Click();
    void Button2Click();
    void AnswerForUser();

    TDBLookupComboboxEh* DBLookupComboboxEh1; // 转给网点
    QCheckBox* CheckBox1; // 全部网点: offers every site; otherwise those under the login site
    QPushButton* Button1; // 确定(&Y)
    QPushButton* Button2; // 取消(&N)
};
