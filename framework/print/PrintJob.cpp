#include "framework/print/PrintJob.h"

#include "framework/export/ListExportFile.h"
#include "wire/Error.h"

#include <QCoreApplication>
#include <QFile>
#include <QPainter>
#include <QPdfWriter>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kStepMilliseconds = 25; // well below what a user feels

class PdfTarget final : public TPrintTarget {
public:
    PdfTarget(const QString& path, const QPageLayout& paper, const QString& title)
        : part_(path)
        , file_(part_.Name())
    {
        if (!file_.open(QIODevice::WriteOnly | QIODevice::Truncate))
            part_.RaiseUnwritable(file_.errorString());
        writer_ = std::make_unique<QPdfWriter>(&file_);
        writer_->setResolution(kPageUnits);
        writer_->setPageLayout(paper);
        writer_->setTitle(title);
        writer_->setCreator(QCoreApplication::applicationName());
    }
    QPagedPaintDevice& Device() override { return *writer_; }
    void Check() override
    {
        if (file_.error() != QFileDevice::NoError)
            part_.RaiseUnwritten(file_.errorString());
    }
    bool Finish() override
    {
        if (writer_) {
            file_.flush();
            Check();
            writer_.reset();
            file_.close();
        }
        return part_.FinishOnDiskWithin(std::chrono::milliseconds(kStepMilliseconds));
    }

private:
    TPartFile part_;
    QFile file_;
    std::unique_ptr<QPdfWriter> writer_;
};

} // namespace

TPrintTarget::~TPrintTarget() = default;

std::unique_ptr<TPrintTarget> NewPdfTarget(
    const QString& path, const QPageLayout& paper, const QString& title)
{
    return std::make_unique<PdfTarget>(path, paper, title);
}

TPrintJob::TPrintJob(TListPages& pages, std::unique_ptr<TPrintTarget> target, int first, int last)
    : pages_(pages)
    , target_(std::move(target))
    , first_(first)
    , last_(last)
    , next_(first)
{
    connect(&timer_, &QTimer::timeout, this, &TPrintJob::Step);
    timer_.start(0);
}

TPrintJob::~TPrintJob()
{
    if (painter_ && painter_->isActive())
        target_->GiveUp();
}

void TPrintJob::Step()
{
    QString failure;
    try {
        PaintOn();
    } catch (const wire::Error& error) {
        failure = error.Message();
    }
    if (failure.isEmpty() && !done_) {
        Q_EMIT Advanced(next_ - first_);
        return;
    }
    timer_.stop();
    if (painter_ && painter_->isActive())
        target_->GiveUp();
    painter_.reset();
    target_.reset();
    Q_EMIT Finished(failure);
}

void TPrintJob::PaintOn()
{
    const QDeadlineTimer until(kStepMilliseconds);
    if (!painter_) {
        painter_ = std::make_unique<QPainter>();
        if (!painter_->begin(&target_->Device())) {
            target_->Check();
            throw wire::Error(
                wire::ErrorKind::Storage, u"打印机没有响应。请检查它是否开着、连着，再试一次。"_s);
        }
        const double unit = double(target_->Device().logicalDpiX()) / kPageUnits;
        painter_->scale(unit, unit);
    }
    while (next_ <= last_ && !until.hasExpired()) {
        if (!page_) {
            if (next_ > first_ && !target_->Device().newPage()) {
                target_->Check();
                throw wire::Error(wire::ErrorKind::Storage,
                    u"打印机在第 %1 页停了。请看它是否开着、连着、有纸，再从这一页打起。"_s.arg(next_));
            }
            page_ = std::make_unique<TPagePainter>(pages_, next_);
        }
        if (!page_->Paint(*painter_, until))
            return;
        page_.reset();
        ++next_;
        target_->Check();
    }
    if (next_ <= last_)
        return;
    if (painter_->isActive())
        painter_->end();
    done_ = target_->Finish();
}
