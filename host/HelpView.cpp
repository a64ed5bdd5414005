#include "host/HelpView.h"

#include "runtime/ScreenTable.h"
#include "runtime/ui/Style.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFileInfo>
#include <QImageReader>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextTable>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace guide {

QString Folder()
{
    return QCoreApplication::applicationDirPath() + u"/guide"_s;
}

QString PageOf(const QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        QString page = widget->property("guide").toString();
        if (page.isEmpty()) {
            const TScreenInfo* screen = FindScreenInfo(widget->objectName().toStdString());
            page = screen ? QString::fromLatin1(screen->guide) : QString();
        }
        if (!page.isEmpty())
            return page + u".md"_s;
    }
    return {};
}

} // namespace guide

TGuideBrowser::TGuideBrowser(QWidget* parent)
    : QTextBrowser(parent)
{
    setObjectName(u"GuidePage"_s);
    setAccessibleName(u"手册"_s);
    setOpenExternalLinks(true);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // the room for pictures does not change with the page
    document()->setDocumentMargin(Scaled(*this, 10));
}

int TGuideBrowser::RoomForPictures() const
{
    return qMax(Scaled(*this, 80), viewport()->width() - 2 * qRound(document()->documentMargin()));
}

QVariant TGuideBrowser::loadResource(int type, const QUrl& name)
{
    if (name.fileName() == guide::kKeys && KeysPage)
        return KeysPage();
    if (type != QTextDocument::ImageResource)
        return QTextBrowser::loadResource(type, name);
    QImageReader reader(source().resolved(name).toLocalFile());
    QImage picture = reader.read();
    const double ratio = devicePixelRatioF();
    const int room = qRound(RoomForPictures() * ratio);
    if (picture.width() > room)
        picture = picture.scaledToWidth(room, Qt::SmoothTransformation);
    picture.setDevicePixelRatio(ratio);
    return picture;
}

void TGuideBrowser::doSetSource(const QUrl& url, QTextDocument::ResourceType)
{
    const bool made = url.fileName() == guide::kKeys && KeysPage;
    QUrl shown = url;
    if (!made && url.isLocalFile() && !QFileInfo::exists(url.toLocalFile())) {
        shown = QUrl::fromLocalFile(guide::Folder() + u'/' + guide::kContents);
        Q_EMIT Missing(url.fileName());
    }
    pictureWidth_ = RoomForPictures();
    const QString heading = shown.fragment(QUrl::FullyDecoded);
    QTextBrowser::doSetSource(shown, QTextDocument::MarkdownResource);
    Polish();
    // Markdown names no anchors; a link goes to the heading of that text.
    for (QTextBlock block = document()->begin(); !heading.isEmpty() && block.isValid();
         block = block.next()) {
        if (block.blockFormat().headingLevel() == 0 || block.text() != heading)
            continue;
        setTextCursor(QTextCursor(block));
        verticalScrollBar()->setValue(verticalScrollBar()->value() + cursorRect().top());
        break;
    }
}

// Tables as the guide's readers know them: with lines and room around the text.
void TGuideBrowser::Polish()
{
    const QList<QTextFrame*> frames = document()->rootFrame()->childFrames();
    for (QTextFrame* frame : frames) {
        auto* table = qobject_cast<QTextTable*>(frame);
        if (!table)
            continue;
        QTextTableFormat format = table->format();
        format.setBorder(1);
        format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
        format.setBorderCollapse(true);
        format.setBorderBrush(QColor(0xc3, 0xca, 0xd2));
        format.setCellPadding(Scaled(*this, 4));
        format.setCellSpacing(0);
        table->setFormat(format);
    }
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (QTextCursor(block).currentTable() || block.text().contains(QChar::ObjectReplacementCharacter))
            continue;
        QTextBlockFormat format = block.blockFormat();
        format.setLineHeight(125, QTextBlockFormat::ProportionalHeight);
        QTextCursor(block).setBlockFormat(format);
    }
    document()->setModified(false);
}

// Once the window stays as it is: a picture is scaled in some milliseconds, and a drag asks a hundred times.
void TGuideBrowser::resizeEvent(QResizeEvent* event)
{
    QTextBrowser::resizeEvent(event);
    if (source().isEmpty())
        return;
    QTimer::singleShot(150, this, [this] {
        if (pictureWidth_ == RoomForPictures())
            return;
        const double place = double(verticalScrollBar()->value()) / qMax(1, verticalScrollBar()->maximum());
        reload();
        verticalScrollBar()->setValue(qRound(place * verticalScrollBar()->maximum()));
    });
}

void TGuideBrowser::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Back))
        backward();
    else if (event->matches(QKeySequence::Forward))
        forward();
    else
        QTextBrowser::keyPressEvent(event);
}

THelpView::THelpView(QWidget* parent)
    : QWidget(parent)
    , contents_(new QComboBox)
    , back_(new QToolButton)
    , forward_(new QToolButton)
    , search_(new QLineEdit)
    , note_(new QLabel)
    , browser_(new TGuideBrowser(this))
{
    setObjectName(u"HelpView"_s);
    contents_->setObjectName(u"GuideContents"_s);
    contents_->setAccessibleName(u"目录"_s);
    contents_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    contents_->setMaxVisibleItems(30);
    const auto way = [this](QToolButton* button, QStyle::StandardPixmap icon, const QString& hint,
                         const QKeySequence& key, auto go) {
        button->setIcon(style()->standardIcon(icon));
        button->setAutoRaise(true);
        button->setToolTip(u"%1（%2）"_s.arg(hint, key.toString(QKeySequence::NativeText)));
        button->setAccessibleName(hint);
        connect(button, &QToolButton::clicked, browser_, go);
    };
    back_->setObjectName(u"GuideBack"_s);
    forward_->setObjectName(u"GuideForward"_s);
    way(back_, QStyle::SP_ArrowBack, u"后退"_s, QKeySequence(QKeySequence::Back), &QTextBrowser::backward);
    way(forward_, QStyle::SP_ArrowForward, u"前进"_s, QKeySequence(QKeySequence::Forward),
        &QTextBrowser::forward);
    connect(browser_, &QTextBrowser::backwardAvailable, back_, &QWidget::setEnabled);
    connect(browser_, &QTextBrowser::forwardAvailable, forward_, &QWidget::setEnabled);
    search_->setObjectName(u"GuideSearch"_s);
    search_->setAccessibleName(u"在此页中查找"_s);
    search_->setPlaceholderText(u"在此页中查找"_s);
    search_->setClearButtonEnabled(true);
    connect(search_, &QLineEdit::returnPressed, this, [this] { Find(false); });
    connect(search_, &QLineEdit::textEdited, this, [this] { note_->hide(); });
    note_->setObjectName(u"GuideNote"_s);
    note_->setWordWrap(true);
    note_->setTextFormat(Qt::PlainText);
    note_->setContentsMargins(6, 2, 6, 2);
    note_->hide();

    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(4, 4, 4, 2);
    bar->addWidget(back_);
    bar->addWidget(forward_);
    bar->addWidget(contents_, 1);
    bar->addWidget(search_, 1);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(bar);
    column->addWidget(note_);
    column->addWidget(browser_, 1);
    setFocusProxy(browser_);

    ReadContents();
    connect(contents_, &QComboBox::activated, this,
        [this](int index) { ShowPage(contents_->itemData(index).toString()); });
    connect(browser_, &QTextBrowser::sourceChanged, this, &THelpView::SourceChanged);
    connect(browser_, &TGuideBrowser::Missing, this, [this](const QString& page) {
        note_->setText(u"手册里没有“%1”这一页，下面是目录。"_s.arg(page));
        note_->show();
    });
}

// The pages that the guide's own first page links to, in its order.
void THelpView::ReadContents()
{
    contents_->addItem(u"目录"_s, guide::kContents);
    QFile file(guide::Folder() + u'/' + guide::kContents);
    if (file.open(QIODevice::ReadOnly)) {
        static const QRegularExpression link(uR"(\[([^\]]+)\]\(([\w-]+\.md)\))"_s);
        for (auto found = link.globalMatch(QString::fromUtf8(file.readAll())); found.hasNext();) {
            const QRegularExpressionMatch match = found.next();
            contents_->addItem(match.captured(1), match.captured(2));
        }
    }
    contents_->addItem(u"全部按键"_s, guide::kKeys);
}

void THelpView::ShowPage(const QString& page)
{
    note_->hide();
    const QUrl folder = QUrl::fromLocalFile(guide::Folder() + u'/');
    browser_->setSource(folder.resolved(QUrl(page.isEmpty() ? guide::kContents : page)));
}

QString THelpView::Page() const
{
    return browser_->source().fileName();
}

void THelpView::SourceChanged(const QUrl& source)
{
    contents_->setCurrentIndex(contents_->findData(source.fileName()));
    if (!QFileInfo::exists(guide::Folder() + u'/' + guide::kContents)) {
        note_->setText(u"手册没有安装，应当在 "_s + guide::Folder());
        note_->show();
    }
}

// From the cursor on, then from the page's other end.
void THelpView::Find(bool backwards)
{
    const QString text = search_->text();
    if (text.isEmpty())
        return;
    const QTextDocument::FindFlags flags =
        backwards ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    bool found = browser_->find(text, flags);
    if (!found) {
        const QTextCursor before = browser_->textCursor();
        browser_->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
        found = browser_->find(text, flags);
        if (!found)
            browser_->setTextCursor(before);
    }
    note_->setText(u"此页没有“%1”。"_s.arg(text));
    note_->setVisible(!found);
}

void THelpView::keyPressEvent(QKeyEvent* event)
{
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    if (event->matches(QKeySequence::Find)) {
        search_->setFocus(Qt::ShortcutFocusReason);
        search_->selectAll();
    } else if (event->key() == Qt::Key_F3
        || (search_->hasFocus() && shift && event->key() == Qt::Key_Return)) {
        Find(shift);
    } else if (event->key() == Qt::Key_Escape) {
        Q_EMIT CloseWanted();
    } else {
        QWidget::keyPressEvent(event);
    }
}

THelpKey::THelpKey(std::function<QString()> screenPage)
    : screenPage_(std::move(screenPage))
{
    qApp->installEventFilter(this);
}

THelpKey::~THelpKey()
{
    qApp->removeEventFilter(this);
}

bool THelpKey::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() != Qt::Key_F1 || key->modifiers() != Qt::NoModifier)
        return false;
    auto* widget = static_cast<QWidget*>(watched);
    QWidget* window = widget->window();
    if (qobject_cast<QMainWindow*>(window) || window->objectName() == u"HelpWindow"
        || QApplication::activePopupWidget())
        return false;
    auto* help = window->findChild<QDialog*>(u"HelpWindow"_s, Qt::FindDirectChildrenOnly);
    if (!help) {
        help = new QDialog(window);
        help->setObjectName(u"HelpWindow"_s);
        help->setWindowTitle(u"帮助"_s);
        auto* view = new THelpView(help);
        connect(view, &THelpView::CloseWanted, help, [help, window] {
            help->close();
            window->activateWindow();
        });
        auto* layout = new QVBoxLayout(help);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(view);
        const QSize room = window->screen()->availableSize() - QSize(0, Scaled(*help, 40));
        help->resize(QSize(Scaled(*help, 640), Scaled(*help, 560)).boundedTo(room));
    }
    QString page = guide::PageOf(widget);
    if (page.isEmpty())
        page = screenPage_();
    help->show();
    help->findChild<THelpView*>()->ShowPage(page);
    help->raise();
    help->activateWindow();
    return true;
}
