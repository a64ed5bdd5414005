#pragma once

#include "runtime/Export.h"
#include "runtime/grid/DBGrid.h"

#include <QTimer>

// What a list shows, as UTF-8: without a copy where a cell shows what is stored.
class TShownTexts {
public:
    struct Source {
        int column;
        int field;
        bool plain; // shown as it is stored
    };
    // Of the columns shown, the current one first; with a field, of that field's alone. Ticks are no texts.
    void Read(const TDBGridEh& grid, const QString& field);
    const std::vector<Source>& Sources() const noexcept { return sources_; }
    // Valid until the next is asked for.
    QByteArrayView Text(int viewRow, const Source& source) const;
    // The row of a plain cell in its column, -1 where it is to be read as text.
    qint64 StoredRow(int viewRow, const Source& source) const;
    const wire::Column& Column(const Source& source) const;

private:
    const TDBGridEh* grid_ = nullptr;
    std::vector<Source> sources_;
    mutable QByteArray text_;
};

// Numbers as they are compared: without blanks around them, capitals and small letters alike.
class RUNTIME_EXPORT TNumberSet {
public:
    static constexpr int kMost = 100'000;
    static constexpr int kLongest = 100; // characters

    // The numbers of a pasted text, one a line, each once; of several columns the first.
    static TNumberSet Pasted(const QString& text);

    TNumberSet() = default;
    // Not read yet.
    explicit TNumberSet(const QString& text);
    // Goes on for about so long; true once all are read. Before, nothing else may be asked.
    bool Read(qint64 milliseconds);

    const QString& Complaint() const noexcept { return complaint_; } // the set is empty then
    int Doubles() const noexcept { return doubles_; }
    int Count() const noexcept { return int(numbers_.size()); }
    const QString& Number(int index) const { return numbers_[index]; } // as pasted
    int IndexOf(QByteArrayView cell) const; // -1: not among them

private:
    void Take(QStringView line);
    void Finish();

    QString text_; // still to be read from here on
    qsizetype at_ = 0;
    int tooLong_ = 0;
    QStringList numbers_;
    QHash<QByteArray, int> places_;
    int doubles_ = 0;
    QString complaint_;
    mutable QByteArray folded_;
};

// Looks in a list for a text, or for the numbers of a set, a few milliseconds at a time, so that the window
// never stands still; follows the list as it is edited, sorted and filtered.
class RUNTIME_EXPORT TGridFind : public QObject {
    Q_OBJECT
public:
    explicit TGridFind(TDBGridEh& grid);

    // In the column of that field, or in all where it is empty. An empty text ends the search.
    void FindText(const QString& text, const QString& field);
    void FindNumbers(const TNumberSet* numbers, const QString& field);

    bool IsRunning() const { return soon_.isActive(); }
    int Hits() const noexcept { return hits_; }
    int Place() const; // of the current cell among the hits, from 1; 0: it is none, or not counted yet
    // To the next hit, round the end, with its neighbours in sight; false where there is none, or a rule
    // keeps the current row.
    bool Step(bool backwards);

    // Of a cell that shows the text: where in it the hit begins, and how long it is; -1 without one.
    std::pair<qsizetype, qsizetype> HitIn(int column, const QString& shown) const;

Q_SIGNALS:
    void Progressed();

private:
    bool Matches(int viewRow, const TShownTexts::Source& source) const;
    int HitsIn(int viewRow) const;
    void Begin();
    void Follow();
    void Work();
    void Recount(int viewRow);

    TDBGridEh& grid_;
    QString text_;
    QString field_;
    QByteArray bytes_; // the text as compared
    enum class Letters { None, Latin, Other } letters_ = Letters::None;
    const TNumberSet* numbers_ = nullptr;

    TShownTexts texts_;
    std::vector<quint16> counts_; // by row in view, as far as it was searched
    int hits_ = 0;
    QTimer soon_;
    QPointer<TClientDataSetEx> followed_;
};

// Finds the column of a list that has most of the numbers, the current one where it has as many as any, and
// its rows in their order; a few milliseconds at a time.
class RUNTIME_EXPORT TNumberSearch : public QObject {
    Q_OBJECT
public:
    TNumberSearch(TDBGridEh& grid, const TNumberSet& numbers);

    QString Field; // empty: none of them is there
    std::vector<TBookmark> Rows;
    QStringList Missing;

Q_SIGNALS:
    void Done();

private:
    struct Match {
        int number;
        TBookmark row;
    };
    void Begin();
    void Work();
    void BeginColumn();
    int NumberIn(int viewRow, const TShownTexts::Source& source);
    void EndColumn();
    void Finish();

    const TDBGridEh& grid_;
    const TNumberSet& numbers_;
    TShownTexts texts_;
    size_t column_ = 0;
    int row_ = 0;
    // By value, the numbers that read as one of a type: an amount or moment has no other text than its own.
    QHash<qint64, int> values_[size_t(wire::ColumnType::DateTime) + 1];
    int valuesRead_ = 0; // numbers looked at
    void ReadValue(int number);
    std::vector<int> entries_; // of its texts where each stands once: their numbers, as far as looked up
    struct Tally {
        std::vector<Match> matches;
        std::vector<bool> seen; // by number
        int found = 0;
    };
    Tally tally_;
    Tally best_;
    QTimer soon_;
};
