#include "framework/export/ListExportFile.h"

#include "wire/Error.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <xlsxwriter.h>

#include <chrono>
#include <future>
#include <map>
#include <string>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kFirstDataRoom = 16 * 1024 * 1024; // bytes, for the parts of the file besides the rows
constexpr int kCellCharacters = 32'767; // the most of a workbook's cell
constexpr double kPixelsPerCharacter = 7;
constexpr int kRowsBetweenLooks = 32; // at the clock
constexpr auto kCloseLook = std::chrono::milliseconds(50);

// Rows leave memory as soon as the next one begins, so what is written before never is touched again.
class Workbook {
public:
    Workbook(TExportRows& rows, const QString& path, int sheetRows)
        : rows_(rows)
        , sheetRows_(sheetRows)
        , file_(path)
        , columns_(rows.Columns())
        , levels_(TitleLevels(columns_))
        , temporary_(QDir::tempPath().toUtf8())
    {
        lxw_workbook_options options{};
        options.constant_memory = LXW_TRUE;
        options.tmpdir = temporary_.data();
        options.use_zip64 = LXW_TRUE;
        book_ = workbook_new_opt(QFile::encodeName(file_.Name()).constData(), &options);
        if (!book_)
            file_.RaiseUnwritable(u"没有内存"_s);
        title_ = workbook_add_format(book_);
        format_set_bold(title_);
        format_set_align(title_, LXW_ALIGN_CENTER);
        format_set_align(title_, LXW_ALIGN_VERTICAL_CENTER);
        format_set_border(title_, LXW_BORDER_THIN);
        format_set_bg_color(title_, 0xE6EBF1);
        for (const TExportColumn& column : columns_)
            formats_.push_back(FormatOf(column, false));
        for (const TExportColumn& column : columns_)
            totals_.push_back(FormatOf(column, true));
    }
    // Given up: the library leaves the files of its rows open.
    ~Workbook()
    {
        if (!book_)
            return;
        for (lxw_worksheet* sheet : sheets_) {
            if (sheet->optimize_tmpfile)
                fclose(std::exchange(sheet->optimize_tmpfile, nullptr));
        }
        lxw_workbook_free(book_);
    }
    Workbook(const Workbook&) = delete;
    Workbook& operator=(const Workbook&) = delete;

    // False when it was given up.
    bool Write(const TExportProgress& progress)
    {
        TPacedProgress paced(progress);
        const int room = sheetRows_ - levels_ - rows_.FooterRows();
        const int count = rows_.RowCount();
        NewSheet();
        for (int row = 0; row < count; ++row) {
            if (row > 0 && row % room == 0)
                NewSheet();
            WriteRow(row);
            if (row % kRowsBetweenLooks == 0 && !paced.GoOn(row))
                return false;
        }
        WriteFooters();
        return Close(progress, count);
    }

private:
    // One for all columns that look alike: of two alike the library would compare every property of the later
    // one, for each of its cells.
    lxw_format* FormatOf(const TExportColumn& column, bool total)
    {
        QString pattern = column.format;
        if (column.kind == TExportKind::Text)
            pattern = u"@"_s; // what is typed over it stays text, too
        else if (column.kind == TExportKind::Moment && pattern.isEmpty())
            pattern = u"yyyy-mm-dd hh:nn:ss"_s;
        if (column.kind == TExportKind::Moment)
            pattern.replace(u"nn"_s, u"mm"_s);
        if (pattern.isEmpty() && !total)
            return nullptr;
        lxw_format*& format = known_[{pattern, total}];
        if (format)
            return format;
        format = workbook_add_format(book_);
        if (!pattern.isEmpty())
            format_set_num_format(format, pattern.toUtf8().constData());
        if (total) {
            format_set_bold(format);
            format_set_bg_color(format, 0xDDDDFF);
        }
        return format;
    }

    void NewSheet()
    {
        if (sheet_)
            RequireWritten();
        sheet_ = workbook_add_worksheet(book_, nullptr);
        if (!sheet_)
            file_.RaiseUnwritable(u"不能建立工作表"_s);
        sheets_.push_back(sheet_);
        next_ = 0;
        for (size_t i = 0; i < columns_.size(); ++i) {
            const auto column = static_cast<lxw_col_t>(i);
            worksheet_set_column(sheet_, column, column, columns_[i].width / kPixelsPerCharacter, nullptr);
        }
        WriteTitles();
        worksheet_freeze_panes(sheet_, next_,
            static_cast<lxw_col_t>(std::min<size_t>(size_t(rows_.FrozenColumns()), columns_.size())));
    }

    // A group stands over its columns, a title of fewer levels reaches down to the rows.
    void WriteTitles()
    {
        std::vector<QStringList> titles;
        for (const TExportColumn& column : columns_)
            titles.push_back(column.title.split(u'|'));
        const auto same = [&](size_t a, size_t b, int level) {
            return level + 1 < titles[a].size() && level + 1 < titles[b].size()
                && titles[a].first(level + 1) == titles[b].first(level + 1);
        };
        for (int level = 0; level < levels_; ++level) {
            for (size_t i = 0; i < titles.size(); ++i) {
                const bool begins = level < titles[i].size() && (i == 0 || !same(i - 1, i, level));
                WriteText(level, i, begins ? titles[i][level].toUtf8() : QByteArray(), title_);
                if (!begins)
                    continue;
                size_t last = i;
                while (last + 1 < titles.size() && same(last, last + 1, level))
                    ++last;
                const int bottom = level + 1 == titles[i].size() ? levels_ - 1 : level;
                Merge(level, bottom, i, last);
            }
        }
        next_ = static_cast<lxw_row_t>(levels_);
    }

    // Without a text and a format the library notes the range and writes none of its cells, which may stand
    // in rows that are gone.
    void Merge(int top, int bottom, size_t left, size_t right)
    {
        if (top < bottom || left < right)
            worksheet_merge_range(sheet_, static_cast<lxw_row_t>(top), static_cast<lxw_col_t>(left),
                static_cast<lxw_row_t>(bottom), static_cast<lxw_col_t>(right), "", nullptr);
    }

    void WriteText(int row, size_t column, const QByteArray& text, lxw_format* format)
    {
        if (text.isEmpty())
            worksheet_write_blank(
                sheet_, static_cast<lxw_row_t>(row), static_cast<lxw_col_t>(column), format);
        else
            worksheet_write_string(sheet_, static_cast<lxw_row_t>(row), static_cast<lxw_col_t>(column),
                text.constData(), format);
    }

    void WriteRow(int row)
    {
        for (size_t i = 0; i < columns_.size(); ++i) {
            const TExportCell cell = rows_.Cell(row, static_cast<int>(i));
            if (cell.empty)
                continue;
            const auto column = static_cast<lxw_col_t>(i);
            lxw_error error = LXW_NO_ERROR;
            switch (columns_[i].kind) {
            case TExportKind::Text:
                text_.assign(cell.text.data(), static_cast<size_t>(cell.text.size()));
                error = worksheet_write_string(sheet_, next_, column, text_.c_str(), formats_[i]);
                break;
            case TExportKind::Number:
                error = worksheet_write_number(sheet_, next_, column, cell.number, formats_[i]);
                break;
            case TExportKind::Moment:
                error = worksheet_write_number(sheet_, next_, column, cell.moment.ToSerial(), formats_[i]);
                break;
            }
            if (error != LXW_NO_ERROR)
                RaiseRefused(error);
        }
        ++next_;
    }

    void WriteFooters()
    {
        for (int line = 0; line < rows_.FooterRows(); ++line) {
            for (size_t i = 0; i < columns_.size(); ++i) {
                const QString text = rows_.Footer(line, static_cast<int>(i));
                bool isNumber = false;
                const double number = text.toDouble(&isNumber);
                if (isNumber)
                    worksheet_write_number(sheet_, next_, static_cast<lxw_col_t>(i), number, totals_[i]);
                else
                    WriteText(static_cast<int>(next_), i, text.toUtf8(), totals_[i]);
            }
            ++next_;
        }
    }

    // The library does not look whether its own files took what it wrote.
    void RequireWritten()
    {
        FILE* rows = sheet_->optimize_tmpfile;
        if (rows && (fflush(rows) != 0 || ferror(rows) != 0))
            file_.RaiseUnwritable(u"临时文件夹“%1”已满。请清出空间，或者选 CSV。"_s.arg(QDir::tempPath()));
    }

    [[noreturn]] void RaiseRefused(lxw_error error) const
    {
        if (error == LXW_ERROR_MAX_STRING_LENGTH_EXCEEDED)
            file_.RaiseUnwritable(u"有的单元格超过 %L1 个字，请选 CSV。"_s.arg(kCellCharacters));
        file_.RaiseUnwritten(u"写入中断（%1）"_s.arg(QString::fromUtf8(lxw_strerror(error))));
    }

    bool Close(const TExportProgress& progress, int count)
    {
        RequireWritten();
        qint64 size = kFirstDataRoom;
        for (const lxw_worksheet* sheet : sheets_)
            size += sheet->optimize_tmpfile ? ftell(sheet->optimize_tmpfile) : 0;
        if (!HasRoom(QDir::tempPath(), size))
            file_.RaiseUnwritable(u"临时文件夹“%1”放不下。请清出空间，或者选 CSV。"_s.arg(QDir::tempPath()));
        // Packing takes as long as the rows did, and cannot be broken off: a file given up is dropped when it
        // is done.
        std::future<lxw_error> closed = std::async(
            std::launch::async, [book = std::exchange(book_, nullptr)] { return workbook_close(book); });
        bool wanted = true;
        while (closed.wait_for(kCloseLook) != std::future_status::ready)
            wanted = wanted && (!progress || progress(count));
        const lxw_error error = closed.get();
        if (!wanted)
            return false;
        if (error != LXW_NO_ERROR)
            RaiseRefused(error);
        return file_.FinishOnDisk(progress, count);
    }

    TExportRows& rows_;
    const int sheetRows_;
    TPartFile file_;
    const std::vector<TExportColumn>& columns_;
    const int levels_;
    QByteArray temporary_;
    lxw_workbook* book_ = nullptr;
    std::vector<lxw_worksheet*> sheets_;
    lxw_worksheet* sheet_ = nullptr; // the last of them
    lxw_row_t next_ = 0;
    std::string text_; // of a cell, ended by a zero for the library
    lxw_format* title_ = nullptr;
    std::map<std::pair<QString, bool>, lxw_format*> known_; // by pattern, and whether of totals
    std::vector<lxw_format*> formats_; // by column
    std::vector<lxw_format*> totals_;
};

} // namespace

bool WriteXlsx(TExportRows& rows, const QString& path, const TExportProgress& progress, int sheetRows)
{
    return Workbook(rows, path, sheetRows).Write(progress);
}
