#include "framework/frm_Progress.h"

#include "runtime/ui/Application.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kExposeMilliseconds = 200;
constexpr int kPaintMilliseconds = 100; // often enough to look alive and to hear a cancel

} // namespace

Tfrm_Progress::Tfrm_Progress(QObject* owner, const QString& caption)
    : TForm(owner, u"frm_Progress"_s)
    , Label1(new QLabel(this))
    , Label2(new QLabel(this))
    , ProgressBar1(new QProgressBar(this))
{
    SetCaption(caption);
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    Label1->setObjectName(u"Label1"_s);
    Label2->setObjectName(u"Label2"_s);
    ProgressBar1->setObjectName(u"ProgressBar1"_s);
    ProgressBar1->setTextVisible(false);
    ProgressBar1->setAccessibleName(caption);
    Label2->setAlignment(Qt::AlignRight);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Label1);
    layout->addWidget(ProgressBar1);
    layout->addWidget(Label2);
    setMinimumWidth(fontMetrics().averageCharWidth() * 36);
}

// Hands the keyboard back; not every window system does.
Tfrm_Progress::~Tfrm_Progress()
{
    QWidget* form = Application && isActiveWindow() ? Application->MainForm() : nullptr;
    hide();
    if (form)
        form->window()->activateWindow();
}

void Tfrm_Progress::AllowCancel()
{
    KeyPreview = true;
    setWindowModality(Qt::ApplicationModal);
    Button1 = new QPushButton(u"取消(&N)"_s, this);
    Button1->setObjectName(u"Button1"_s);
    layout()->addWidget(Button1);
    layout()->setAlignment(Button1, Qt::AlignRight);
    connect(Button1, &QPushButton::clicked, this, [this] {
        cancelled_ = true;
        Button1->setEnabled(false);
    });
}

bool Tfrm_Progress::FormKeyDown(QKeyEvent* event)
{
    if (!Button1 || event->key() != Qt::Key_Escape)
        return false;
    Button1->click();
    return true;
}

// The action closes it, not the user: his wish to leave is the button.
TCloseAction Tfrm_Progress::FormClose()
{
    if (Button1)
        Button1->click();
    return TCloseAction::None;
}

void Tfrm_Progress::Start(const QString& text, int total)
{
    ProgressBar1->setRange(0, total);
    Take(text, 0);
    ShowTaken();
    Show();
    if (const QWidget* form = Application ? Application->MainForm() : nullptr)
        move(form->window()->frameGeometry().center() - rect().center());
    // The window system must have shown the window, which paints it, before the action takes the thread;
    // later steps repaint it without letting any other event in.
    const QDeadlineTimer deadline(kExposeMilliseconds);
    while (!(windowHandle() && windowHandle()->isExposed()) && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);
    painted_.start();
}

void Tfrm_Progress::Step(const QString& text, int done)
{
    Take(text, done);
    if (!isVisible() || (done_ != Total() && !painted_.hasExpired(kPaintMilliseconds)))
        return;
    ShowTaken();
    if (Button1) {
        Label2->repaint();
        QCoreApplication::processEvents(); // paints whatever else needs it
    } else {
        repaint();
    }
    painted_.start();
}

void Tfrm_Progress::Finish(const QString& text)
{
    Take(text, Total());
    ShowTaken();
    repaint();
}

void Tfrm_Progress::Take(const QString& text, int done)
{
    text_ = text;
    done_ = done;
}

// The bar paints itself at once whenever its value changes, so it is told no more often than the eye can see.
void Tfrm_Progress::ShowTaken()
{
    Label1->setText(text_);
    Label2->setText(u"%1 / %2"_s.arg(done_).arg(Total()));
    ProgressBar1->setValue(done_);
}

QString Tfrm_Progress::Text() const
{
    return text_;
}

int Tfrm_Progress::Done() const
{
    return done_;
}

int Tfrm_Progress::Total() const
{
    return ProgressBar1->maximum();
}
