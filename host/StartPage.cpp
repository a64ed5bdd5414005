#include "host/StartPage.h"

#include "runtime/ScreenTable.h"

#include <QHeaderView>
#include <QKeySequence>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

enum TColumn { kCaption, kShortcut };
constexpr int kNameRole = Qt::UserRole;

} // namespace

TStartPage::TStartPage(QWidget* parent)
    : QWidget(parent)
    , screens_(new QTreeWidget)
{
    setObjectName(u"StartPage"_s);
    const int line = fontMetrics().height();
    auto* heading = new QLabel(u"打开窗口"_s);
    QFont large = font();
    large.setPixelSize(fontInfo().pixelSize() * 3 / 2);
    heading->setFont(large);
    auto* keys = new QLabel(
        u"方向键选择，回车打开；右边的快捷键随时可用。\n"
        u"打开以后：F1 帮助，F5 查询，Ctrl+S 保存，Alt+G 查找，Ctrl+Tab 下一个窗口，Ctrl+F4 关闭窗口。"_s);
    keys->setWordWrap(true);
    keys->setForegroundRole(QPalette::PlaceholderText);

    screens_->setObjectName(u"StartList"_s);
    screens_->setAccessibleName(heading->text());
    screens_->setColumnCount(2);
    screens_->setHeaderHidden(true);
    screens_->setRootIsDecorated(false);
    screens_->setItemsExpandable(false);
    screens_->setIndentation(line);
    screens_->setAllColumnsShowFocus(true);
    screens_->setSizeAdjustPolicy(QAbstractScrollArea::AdjustToContents);
    screens_->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    screens_->header()->setStretchLastSection(false);
    AddScreens();
    screens_->header()->setSectionResizeMode(kCaption, QHeaderView::Stretch);
    screens_->header()->setSectionResizeMode(kShortcut, QHeaderView::ResizeToContents);
    setFocusProxy(screens_);

    auto* content = new QWidget;
    content->setMaximumWidth(line * 40);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(line * 2, line * 2, line * 2, line);
    column->setSpacing(line / 2);
    column->addWidget(heading);
    column->addWidget(screens_);
    column->addWidget(keys);
    column->addStretch(1);
    auto* layout = new QHBoxLayout(this);
    layout->addStretch(1);
    layout->addWidget(content, 8);
    layout->addStretch(1);

    const auto open = [this](const QTreeWidgetItem* item) {
        const QString name = item ? item->data(kCaption, kNameRole).toString() : QString();
        if (!name.isEmpty())
            Q_EMIT ScreenWanted(name);
    };
    connect(screens_, &QTreeWidget::itemClicked, this, open);
    connect(screens_, &QTreeWidget::itemActivated, this, open);
}

void TStartPage::AddScreens()
{
    const int line = fontMetrics().height();
    QFont bold = font();
    bold.setBold(true);
    for (const char16_t* title : ScreenMenus()) {
        QTreeWidgetItem* subsystem = nullptr;
        for (const TScreenInfo& info : ScreenTable()) {
            if (!info.built || info.menu != title)
                continue;
            if (!subsystem) {
                // Without the menu's access key, "(&B)".
                subsystem = new QTreeWidgetItem(screens_, {QString::fromUtf16(title).section(u'(', 0, 0)});
                subsystem->setFlags(Qt::ItemIsEnabled);
                subsystem->setFont(kCaption, bold);
                subsystem->setSizeHint(kCaption, QSize(0, line * 2));
            }
            const QKeySequence keys(QString::fromUtf16(info.shortcut));
            auto* item = new QTreeWidgetItem(
                subsystem, {info.Caption() + info.Note(), keys.toString(QKeySequence::NativeText)});
            item->setData(kCaption, kNameRole, info.NameText());
            item->setSizeHint(kCaption, QSize(0, line * 3 / 2));
            if (!screens_->currentItem())
                screens_->setCurrentItem(item);
        }
    }
    screens_->expandAll();
}
