#pragma once

#include "framework/DataView.h"
#include "framework/frm_BasicBoot.h"
#include "module/data/LayoutStorage.h"
#include "module/data/dm_BasicData.h"
#include "tests/support/FakeHost.h"

#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

// A host with the module's data link and settings file, and a screen with two datasets, a few controls and a
// data view.

class TProbeHost : public TFakeHost {
public:
    TProbeHost()
    {
        dm_BasicData = &basic_;
        basic_.HostConnection = &Connection;
        storage_.SetIniFileName(Folder.filePath(QStringLiteral("WindowsIni/Zelmor.ini")));
        LayoutStorage = &storage_;
    }
    ~TProbeHost()
    {
        const std::vector<TForm*> forms = Scr.Forms();
        for (TForm* form : forms)
            delete form;
        dm_BasicData = nullptr;
        LayoutStorage = nullptr;
    }

private:
    Tdm_BasicData basic_;
    TIniPropStorageManEh storage_;
};

class Tfrm_Probe : public Tfrm_BasicBoot {
    Q_OBJECT
public:
    explicit Tfrm_Probe(QObject* owner)
        : Tfrm_BasicBoot(owner)
        , cds(new TClientDataSetEx(this, QStringLiteral("cds")))
        , cds2(new TClientDataSetEx(this, QStringLiteral("cds2")))
        , Edit1(new QLineEdit(this))
        , Edit2(new QLineEdit(this))
        , Memo1(new QPlainTextEdit(this))
        , Button1(new QPushButton(this))
    {
        setObjectName(QStringLiteral("frm_Probe"));
        SetCaption(QStringLiteral("试验"));
    }

    void CreateControls() override
    {
        Edit1->setObjectName(QStringLiteral("Edit1"));
        DataView1 = new TDataView(this, QStringLiteral("DataView1"));
        auto* layout = new QVBoxLayout(this);
        for (QWidget* widget :
            {static_cast<QWidget*>(Edit1), static_cast<QWidget*>(Edit2), static_cast<QWidget*>(Memo1),
                static_cast<QWidget*>(DataView1), static_cast<QWidget*>(Button1)})
            layout->addWidget(widget);
        DataView1->DS->SetDataSet(cds);
        DataView1->DataViewGrid->SetColumns({{.title = QStringLiteral("序号"), .width = 40},
            {.fieldName = QStringLiteral("HIDDEN"), .title = QStringLiteral("隐藏"), .visible = false},
            {.fieldName = QStringLiteral("ID"), .title = QStringLiteral("编号"), .width = 100},
            {.fieldName = QStringLiteral("NOTE"), .title = QStringLiteral("备注"), .width = 200},
            {.fieldName = QStringLiteral("EXTRA"), .title = QStringLiteral("其它"), .width = 60}});
        DataView1->Loaded();
    }

    void OpenBoth()
    {
        for (TClientDataSetEx* dataSet : {cds, cds2})
            dataSet->OpenRows(MakeRows({{.name = QStringLiteral("ID"), .key = true, .stored = true},
                                           {.name = QStringLiteral("NOTE"), .stored = true}},
                {{QStringLiteral("1"), QStringLiteral("a")}, {QStringLiteral("2"), QStringLiteral("b")}}));
    }
    static void Change(TClientDataSetEx& dataSet)
    {
        dataSet.SetFieldAndPost(QStringLiteral("NOTE"), QStringLiteral("changed"));
    }

    TClientDataSetEx* cds;
    TClientDataSetEx* cds2;
    QLineEdit* Edit1;
    QLineEdit* Edit2;
    QPlainTextEdit* Memo1;
    TDataView* DataView1 = nullptr;
    QPushButton* Button1;

protected:
    void FormShow() override { Setup(DataView1, cds, Button1, nullptr); }
};
