#include "orders/frm_ChangeSite.h"

#include "framework/LabelledControls.h"
#include "framework/Lookups.h"
#include "module/data/dm_GlobalData.h"
#include "runtime/ui/Application.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QKeyEvent>
#include <QScreen>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

// The chosen site's name; read by the caller after the dialog closed.
QString chosenSite;

} // namespace

Tfrm_ChangeSite::Tfrm_ChangeSite(QObject* owner)
    : TForm(owner, u"frm_ChangeSite"_s)
    , DBLookupComboboxEh1(new TDBLookupComboboxEh(this, u"DBLookupComboboxEh1"_s))
    , CheckBox1(new QCheckBox(u"全部网点(&A)"_s, this))
    , Button1(new QPushButton(u"确定(&Y)"_s, this))
    , Button2(new QPushButton(u"取消(&N)"_s, this))
{
    SetCaption(u"转件服务"_s);
    KeyPreview = true;
    setWindowFlags(
        Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    Button1->setObjectName(u"Button1"_s);
    Button2->setObjectName(u"Button2"_s);

    CheckBox1->setObjectName(u"CheckBox1"_s);
    connect(CheckBox1, &QCheckBox::toggled, this, &Tfrm_ChangeSite::CheckBox1Click);
    CheckBox1Click();
    DBLookupComboboxEh1->setMinimumWidth(fontMetrics().averageCharWidth() * 36);
    DBLookupComboboxEh1->OnKeyDown = [this](QKeyEvent* event) {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
            CompleteLookupText(*DBLookupComboboxEh1);
    };

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(Button1);
    buttons->addWidget(Button2);
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->setSpacing(12);
    layout->addWidget(LabelFor(DBLookupComboboxEh1, u"转给网点"_s, this), 0, 0);
    layout->addWidget(DBLookupComboboxEh1, 0, 1);
    layout->addWidget(CheckBox1, 1, 1);
    layout->addLayout(buttons, 2, 0, 1, 2);
    layout->setSizeConstraint(QLayout::SetFixedSize);

    connect(Button1, &QPushButton::clicked, this, [this] { Guarded([this] { Button1Click(); }); });
    connect(Button2, &QPushButton::clicked, this, &Tfrm_ChangeSite::Button2Click);
    FormCreate();
}

QString Tfrm_ChangeSite::Execute()
{
    // Frees itself when it closes.
    (new Tfrm_ChangeSite(Application))->ShowModal();
    return chosenSite;
}

void Tfrm_ChangeSite::FormCreate()
{
    chosenSite.clear();
}

// The text typed stays.
void Tfrm_ChangeSite::CheckBox1Click()
{
    const bool all = CheckBox1->isChecked();
    TLookupParams sites = SiteLookup(all ? dm_GlobalData->ds_AllSite : dm_GlobalData->ds_site);
    if (!all)
        sites.unknownText = u"不是下属网点"_s; // there may be such a site all the same
    PrepareLookup(*DBLookupComboboxEh1, sites);
}

void Tfrm_ChangeSite::Button1Click()
{
    chosenSite = DBLookupComboboxEh1->Text();
    Close();
}

void Tfrm_ChangeSite::Button2Click()
{
    Close();
}

bool Tfrm_ChangeSite::FormKeyDown(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Escape || DBLookupComboboxEh1->ListVisible())
        return false;
    Button2Click();
    return true;
}

void Tfrm_ChangeSite::showEvent(QShowEvent* event)
{
    TForm::showEvent(event);
    move(screen()->availableGeometry().center() - rect().center());
    DBLookupComboboxEh1->setFocus();
    // Once the dialog stands, so that an answer given beforehand goes through its controls.
    QTimer::singleShot(0, this, &Tfrm_ChangeSite::AnswerForUser);
}

void Tfrm_ChangeSite::AnswerForUser()
{
    QStringList answer;
    if (!Application->TakeAnswer(answer)) {
        if (Application->Unattended)
            Button2->click();
        return;
    }
    const QString text = answer.value(0);
    if (text.compare(u"cancel"_s, Qt::CaseInsensitive) == 0) {
        Button2->click();
        return;
    }
    DBLookupComboboxEh1->SetText(text);
    CompleteLookupText(*DBLookupComboboxEh1);
    Button1->click();
}
