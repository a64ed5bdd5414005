#pragma once

#include "framework/DataView.h"
#include "framework/RecordButtons.h"
#include "framework/frm_BasicBoot.h"
#include "runtime/controls/DBControls.h"

#include <QLabel>
#include <QPushButton>

// 网点揽派区/县: which counties a site serves, when it collects there, how far it delivers.
class Tfrm_Site : public Tfrm_BasicBoot {
    Q_OBJECT
public:
    explicit Tfrm_Site(QObject* owner);

protected:
    void CreateControls() override;
    void FormCreate() override;
    void FirstLoad() override;
    void FormShow() override;

private:
    void CreateEditors(QWidget* panel);
    void PlaceEditors(QWidget* panel);
    QWidget* CreateButtons();
    void CreateView();
    void cdsAfterInsert();
    void DSStateChange();
    void DBLookupComboboxEh2UpdateData();
    void DBLookupComboboxEh2Exit();
    void DataView1DataViewGridDblClick();
    void Button1Click();
    void Button2Click();

    TClientDataSetEx* cds; // the counties served
    TClientDataSetEx* cdsCounty; // all there are
    TDataSource* dsCounty;

    QLabel* Label1; // 网点名称
    TDBLookupComboboxEh* DBLookupComboboxEh1; // 网点名称, where all sites are shown
    TDBLookupComboboxEh* DBLookupComboboxEh2; // 所属区/县
    TDBEditEh* DBEditEh1; // 所属省份
    TDBEditEh* DBEditEh2; // 所属城市
    TDBEditEh* DBEditEh3; // 邮政编码
    TDBDateTimeEditEh* DBDateTimeEditEh1; // 揽件时间始
    TDBDateTimeEditEh* DBDateTimeEditEh2; // 揽件时间止
    TDBCheckBoxEh* DBCheckBoxEh1; // 揽件
    TDBCheckBoxEh* DBCheckBoxEh2; // 派送
    TDBCheckBoxEh* DBCheckBoxEh3; // 开通泽摩
    TDBMemo* DBMemo1; // 派送范围
    TDBMemo* DBMemo2; // 不派送范围
    TRecordButtons* recordButtons_;
    QPushButton* Button1; // 保存
    QPushButton* Button2; // 查询
    TDataView* DataView1;

    QString site_; // of the login
    bool opensCounties_ = false;
};
