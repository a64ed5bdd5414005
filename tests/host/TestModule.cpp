// A module of one screen, as the host meets one: exported entry, announcements, published buttons.
#include "runtime/controls/DBControls.h"
#include "runtime/data/ClientDataSet.h"
#include "runtime/grid/DBGrid.h"
#include "runtime/ui/Application.h"
#include "runtime/ui/Forms.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

class Tfrm_Sample : public TForm {
    Q_OBJECT
    Q_PROPERTY(QObject* QueryButton MEMBER queryButton_)
    Q_PROPERTY(QObject* SaveButton MEMBER saveButton_)
    Q_PROPERTY(bool Right1 MEMBER right1_)
    Q_PROPERTY(bool Right2 MEMBER right2_)
    Q_PROPERTY(bool Right3 MEMBER right3_)
public:
    Tfrm_Sample(TSocketConnectionEx* connection, const QString& rights)
        : TForm(::Application, u"frm_Sample"_s)
    {
        SetCaption(u"示例"_s);
        FormStyle = TFormStyle::MDIChild;
        right1_ = rights.startsWith(u'1');
        right2_ = rights.mid(1).startsWith(u'1');
        right3_ = rights.endsWith(u'1');
        SendFormMessage(::Application->MainForm(), kMessageCreating, this);

        sites_ = new TClientDataSetEx(this, u"sites"_s);
        sites_->SetRemoteServer(connection);
        auto* source = new TDataSource(this);
        source->SetDataSet(sites_);
        grid_ = new TDBGridEh(this, u"DataViewGrid"_s);
        grid_->SetDataSource(source);
        edit_ = new TDBEditEh(this, u"DBEditEh1"_s);
        combo_ = new TDBComboBoxEh(this, u"DBComboBoxEh1"_s);
        combo_->SetItems({u"全部"_s, u"中心"_s, u"网点"_s});
        queryButton_ = new QPushButton(u"查询"_s, this);
        queryButton_->setObjectName(u"Button4"_s);
        saveButton_ = new QPushButton(u"保存"_s, this);
        saveButton_->setObjectName(u"Button1"_s);
        auto* layout = new QVBoxLayout(this);
        auto* second = new TDBComboBoxEh(this, u"DBComboBoxEh2"_s);
        for (const auto& [control, label] : std::initializer_list<std::pair<QWidget*, QString>>{
                 {edit_, u"名称(&N)："_s}, {combo_, u"类型"_s}, {second, u"类型"_s}}) {
            auto* caption = new QLabel(label, this);
            caption->setBuddy(control);
        }
        for (QWidget* widget : std::initializer_list<QWidget*>{edit_, combo_, second,
                 static_cast<QWidget*>(queryButton_), static_cast<QWidget*>(saveButton_), grid_})
            layout->addWidget(widget);
        connect(static_cast<QPushButton*>(queryButton_), &QPushButton::clicked, this, [this] {
            Guarded([this] {
                sites_->Close();
                sites_->SetCommandText(u"select a.* from tab_site a where a.SITE_NAME like '%"_s
                    + edit_->Text() + u"%' order by a.SITE_CODE"_s);
                sites_->Open();
            });
        });
        connect(static_cast<QPushButton*>(saveButton_), &QPushButton::clicked, this, [this] {
            ::Application->MessageBox(
                u"详细：要保存吗？"_s, Caption(), TMessageIcon::Question, TMessageButtons::OkCancel);
        });
    }

protected:
    void FormActivate() override
    {
        SendFormMessage(::Application->MainForm(), kMessageActivated, this);
        QMetaObject::invokeMethod(
            ::Application->MainForm(), "ResetSearch", Qt::DirectConnection, Q_ARG(QWidget*, grid_));
    }
    TCloseAction FormClose() override
    {
        if (edit_->Text() == u"未保存"_s
            && ::Application->MessageBox(u"详细：确定要关闭吗？"_s, Caption(), TMessageIcon::Question,
                   TMessageButtons::OkCancel, true)
                != TMessageResult::Ok)
            return TCloseAction::None;
        SendFormMessage(::Application->MainForm(), kMessageClosed, this);
        return TCloseAction::Free;
    }

private:
    TClientDataSetEx* sites_;
    TDBGridEh* grid_;
    TDBEditEh* edit_;
    TDBComboBoxEh* combo_;
    QObject* queryButton_;
    QObject* saveButton_;
    bool right1_ = false;
    bool right2_ = false;
    bool right3_ = false;
};

extern "C" Q_DECL_EXPORT void exec(
    TApplication* application, TScreen* screen, const std::uintptr_t* hostData, int, const char* formName)
{
    ::Application = application;
    ::Screen = screen;
    const QString name = QString::fromLatin1(formName);
    for (TForm* open : screen->Forms()) {
        if (open->objectName() == name.chopped(3) && open->IsShown()) {
            open->Show();
            return;
        }
    }
    if (name.chopped(3) == u"frm_Sample"_s)
        (new Tfrm_Sample(reinterpret_cast<TSocketConnectionEx*>(hostData[0]), name.right(3)))->Show();
    else
        application->MessageBox(u"详细：此窗体不存在！"_s, u"DLL调用"_s, TMessageIcon::Error);
}

#include "TestModule.moc"
