#include "host/KeysPage.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

// "查询(&Q)…" without its access key and dots; a cell of a table holds no bar.
QString Plain(const QString& text)
{
    QString plain = text.section(u"(&"_s, 0, 0).remove(u'…').remove(u'&');
    return plain.replace(u'|', u'/').trimmed();
}

QString Row(const QString& text, const QString& keys)
{
    QString shown = QKeySequence(keys).toString(QKeySequence::NativeText);
    if (shown.isEmpty()) // several keys in words
        shown = keys;
    shown.replace(u'\\', u"\\\\"_s).replace(u'|', u"\\|"_s);
    return u"| %1 | %2 |\n"_s.arg(shown, Plain(text));
}

void AddTable(QString& page, const QString& heading, const QString& rows)
{
    if (!rows.isEmpty())
        page += u"\n## %1\n\n| 按键 | 作用 |\n|---|---|\n%2"_s.arg(heading, rows);
}

QString RowsOf(const QList<QAction*>& actions)
{
    QString rows;
    for (const QAction* action : actions) {
        if (action->isVisible() && !action->shortcut().isEmpty())
            rows += Row(action->text(), action->shortcut().toString());
    }
    return rows;
}

} // namespace

QString KeysPage(const QWidget& frame, const QWidget* screen)
{
    QString page =
        u"# 全部按键\n\n按这时的窗口列出；换到别的窗口以后再按 Ctrl+F1，列出的就是那个窗口的。\n"_s;
    if (screen) {
        QString rows;
        const QStringList keys = screen->property("ActionKeys").toStringList();
        for (const QString& key : keys)
            rows += Row(key.section(u'\t', 0, 0), key.section(u'\t', 1));
        if (keys.isEmpty())
            rows = RowsOf(screen->findChildren<QAction*>());
        AddTable(page, u"窗口“%1”和它的列表"_s.arg(screen->windowTitle()), rows);
    }
    const auto* tools = frame.findChild<QToolBar*>();
    AddTable(page, u"工具栏"_s, tools ? RowsOf(tools->actions()) : QString());
    const auto* bar = frame.findChild<QMenuBar*>();
    for (const QAction* menu : bar ? bar->actions() : QList<QAction*>())
        AddTable(page, Plain(menu->text()), menu->menu() ? RowsOf(menu->menu()->actions()) : QString());
    page += u"\n单元格和输入框里的按键，见[列表](lists.md)。\n"_s;
    return page;
}
