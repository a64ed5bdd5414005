#include "framework/LastCriteria.h"

#include "framework/CriteriaWords.h"
#include "framework/DataView.h"
#include "framework/NumberListInput.h"
#include "framework/ScreenHandlers.h"
#include "framework/ViewState.h"
#include "module/data/LayoutStorage.h"
#include "runtime/controls/DBControls.h"

#include <QRadioButton>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char* kText = "text"; // of a line edit; a list's is its own
constexpr const char* kChecked = "checked";

bool LiesInList(const QWidget* box)
{
    for (const QWidget* around = box->parentWidget(); around; around = around->parentWidget()) {
        if (qobject_cast<const TDataView*>(around) || qobject_cast<const TNumberListInput*>(around)
            || qobject_cast<const QComboBox*>(around))
            return true;
    }
    return false;
}

// What of the widget is a criterion; nullptr where nothing is.
const char* CriterionOf(const QWidget* box)
{
    if (box->objectName().isEmpty() || BelongsToRow(*box) || LiesInList(box) || ServesAction(*box))
        return nullptr;
    if (qobject_cast<const TDBComboBoxEh*>(box))
        return "Text";
    if (qobject_cast<const QLineEdit*>(box))
        return qobject_cast<const TDBDateTimeEditEh*>(box) ? nullptr : kText;
    return qobject_cast<const QCheckBox*>(box) || qobject_cast<const QRadioButton*>(box) ? kChecked : nullptr;
}

// With each box what of it is a criterion, in the order in which they were made: what depends on another box
// comes after it.
std::vector<std::pair<QWidget*, const char*>> Criteria(const Tfrm_Basic& screen)
{
    std::vector<std::pair<QWidget*, const char*>> criteria;
    for (QWidget* box : screen.findChildren<QWidget*>()) {
        if (const char* property = CriterionOf(box))
            criteria.emplace_back(box, property);
    }
    return criteria;
}

} // namespace

TLastCriteria* TLastCriteria::For(Tfrm_Basic& screen)
{
    const bool possible = LayoutStorage && screen.QueryButton()
        && !AccountSection(screen.objectName()).isEmpty() && !Criteria(screen).empty();
    return possible ? new TLastCriteria(screen) : nullptr;
}

TLastCriteria::TLastCriteria(Tfrm_Basic& screen)
    : QAction(u"上次的查询条件(&L)"_s, &screen)
    , screen_(screen)
    , section_(AccountSection(u'.' + screen.objectName() + u".Criteria"_s))
{
    setObjectName(u"LastCriteria"_s);
    setShortcut(QKeySequence(u"Shift+F5"_s));
    setShortcutContext(Qt::WidgetWithChildrenShortcut);
    setEnabled(!LayoutStorage->ReadKeys(section_).isEmpty());
    screen.addAction(this);
    connect(this, &QAction::triggered, this, [this] { RunHandler(&screen_, [this] { Recall(); }); });
    connect(screen.QueryButton(), &QAbstractButton::clicked, this, &TLastCriteria::Keep);
}

TLastCriteria::~TLastCriteria()
{
    if (LayoutStorage)
        LayoutStorage->Flush();
}

void TLastCriteria::Keep()
{
    if (!LayoutStorage)
        return;
    for (const auto& [box, property] : Criteria(screen_))
        LayoutStorage->WriteString(section_, box->objectName(), box->property(property).toString());
    setEnabled(true);
}

void TLastCriteria::Recall()
{
    if (!LayoutStorage)
        return;
    const QStringList kept = LayoutStorage->ReadKeys(section_);
    for (const auto& [box, property] : Criteria(screen_)) {
        if (box->isEnabled() && kept.contains(box->objectName()))
            box->setProperty(property, LayoutStorage->ReadString(section_, box->objectName()));
    }
    ShowNotice(u"已填上您上次查询的条件，时间没有变。"_s);
}
