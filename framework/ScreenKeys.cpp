#include "framework/ScreenKeys.h"

#include "framework/DataView.h"
#include "framework/frm_Basic.h"

#include <QAction>
#include <QEvent>
#include <QTabWidget>
#include <QToolButton>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct TWordsKey {
    QStringView words;
    const char16_t* key;
};

// F9 is what most orders of a window go through, F8 what hands them to another site, F7 begins something;
// with Shift what takes it back. F11 copies a chart and F12 saves one, with Shift the second chart of the
// window. F5 and Ctrl+S are the frame's.
constexpr auto kKeys = std::to_array<TWordsKey>({
    {u"批量接单", u"F9"},
    {u"批量揽件", u"F9"},
    {u"批量分派司机", u"F9"},
    {u"自动匹配目的站点(新)", u"F9"},
    {u"Excel导入", u"F9"},
    {u"刷新接单站点", u"F9"},
    {u"转单", u"F8"},
    {u"分件", u"F8"},
    {u"批量分派机构", u"F8"},
    {u"批量委托", u"F8"},
    {u"增加", u"F7"},
    {u"修改", u"Ctrl+F7"},
    {u"放弃", u"Shift+F7"},
    {u"删除", u"Shift+F8"},
    {u"订单取消", u"Shift+F9"},
    {u"接单失败", u"Shift+F8"},
    {u"清空", u"Shift+F7"},
    {u"复制地区图", u"F11"},
    {u"复制接单图", u"F11"},
    {u"复制揽件图", u"Shift+F11"},
    {u"存地区图", u"F12"},
    {u"存接单图", u"F12"},
    {u"存揽件图", u"Shift+F12"},
});

QString KeyOf(const QString& words)
{
    const auto* row = std::ranges::find(kKeys, words, &TWordsKey::words);
    return row == kKeys.end() ? QString() : QString::fromUtf16(row->key);
}

void Bind(Tfrm_Basic& screen, QAction* action, const QString& key)
{
    action->setShortcut(QKeySequence(key));
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    screen.addAction(action);
}

template <typename TShown> void SayKey(TShown& shown, const QString& words, const QKeySequence& key)
{
    const QString said = shown.toolTip().isEmpty() ? words : shown.toolTip();
    shown.setToolTip(said + u'（' + key.toString(QKeySequence::NativeText) + u'）');
}

// Presses its button, and can be chosen while that can.
class TButtonAction : public QAction {
public:
    TButtonAction(Tfrm_Basic& screen, QAbstractButton& button)
        : QAction(PlainActionText(button.text()), &screen)
        , button_(button)
    {
        button.installEventFilter(this);
        connect(this, &QAction::triggered, &button, [&button] { PressButton(button); });
        Follow();
    }

    bool eventFilter(QObject*, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::EnabledChange:
        case QEvent::ShowToParent:
        case QEvent::HideToParent:
            Follow();
            break;
        default:
            break;
        }
        return false;
    }

private:
    void Follow()
    {
        setEnabled(button_.isEnabled());
        setVisible(!button_.isHidden());
    }

    QAbstractButton& button_;
};

bool LiesInList(const QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        if (qobject_cast<const TDataView*>(widget))
            return true;
    }
    return false;
}

void GiveButtonKeys(Tfrm_Basic& screen)
{
    for (QAbstractButton* button : screen.findChildren<QAbstractButton*>()) {
        const auto* tool = qobject_cast<QToolButton*>(button);
        QAction* action = tool ? tool->defaultAction() : nullptr; // its text may be longer than the button's
        const QString words = PlainActionText(action ? action->text() : button->text());
        const QString key = KeyOf(words);
        if (key.isEmpty() || LiesInList(button))
            continue;
        if (action) {
            Bind(screen, action, key);
            SayKey(*action, words, action->shortcut());
            continue;
        }
        action = new TButtonAction(screen, *button);
        action->setObjectName(button->objectName() + u"Key"_s);
        Bind(screen, action, key);
        SayKey(*button, words, action->shortcut());
    }
}

void GivePageKeys(Tfrm_Basic& screen)
{
    auto* pages = screen.findChild<QTabWidget*>();
    for (int page = 0; pages && page < pages->count(); ++page) {
        auto* action = new QAction(PlainActionText(pages->tabText(page)), &screen);
        QObject::connect(action, &QAction::triggered, pages, [pages, page] { pages->setCurrentIndex(page); });
        Bind(screen, action, u"Alt+%1"_s.arg(page + 1));
        pages->setTabToolTip(
            page, action->text() + u'（' + action->shortcut().toString(QKeySequence::NativeText) + u'）');
    }
}

void GiveListKey(Tfrm_Basic& screen)
{
    if (screen.findChildren<TDataView*>().size() < 2)
        return;
    auto* action = new QAction(u"下一个列表"_s, &screen);
    QObject::connect(action, &QAction::triggered, &screen, [&screen] {
        std::vector<TDBGridEh*> lists;
        for (const TDataView* view : screen.findChildren<TDataView*>()) {
            if (view->DataViewGrid->isVisible())
                lists.push_back(view->DataViewGrid);
        }
        const auto now = std::ranges::find_if(lists, [](const TDBGridEh* list) { return list->hasFocus(); });
        if (!lists.empty())
            (now == lists.end() || now + 1 == lists.end() ? lists.front() : now[1])->setFocus();
    });
    Bind(screen, action, u"F6"_s);
}

QString KeysOf(const QAction& action)
{
    const QString shown = action.text().section(u'\t', 1);
    return shown.isEmpty() ? action.shortcut().toString(QKeySequence::PortableText) : shown;
}

} // namespace

void GiveActionKeys(Tfrm_Basic& screen)
{
    GiveButtonKeys(screen);
    GivePageKeys(screen);
    GiveListKey(screen);
}

std::vector<TActionKey> ActionKeys(const Tfrm_Basic& screen)
{
    std::vector<TActionKey> keys;
    if (screen.QueryButton())
        keys.push_back({u"查询"_s, QString::fromUtf16(kQueryKey)});
    if (screen.SaveButton())
        keys.push_back({u"保存"_s, QString::fromUtf16(kSaveKey)});
    const auto add = [&keys](const QList<QAction*>& actions) {
        for (const QAction* action : actions) {
            if (action->isVisible() && !KeysOf(*action).isEmpty())
                keys.push_back({PlainActionText(action->text()), KeysOf(*action)});
        }
    };
    add(screen.actions());
    if (screen.DataView())
        add(screen.DataView()->DataViewGrid->actions());
    return keys;
}
