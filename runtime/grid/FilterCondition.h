#pragma once

#include "runtime/grid/DBGridPrivate.h"

#include <QHash>
#include <QSet>

// What a filter by title makes of a column's values. One for all of them: what can be found out once is.

// The name of a value in a filter's list: as it is shown, of a moment its day.
class TDBGridEh::Private::FilterTexts {
public:
    FilterTexts(const Private& grid, const QString& field);
    // Its column is there.
    bool HasColumn();
    QString Of(const wire::Value& value);

private:
    const Private& grid_;
    QString field_;
    int column_ = -1;
    QHash<qint64, QString> days_;
};

// Whether values pass.
class TDBGridEh::Private::FilterCondition {
public:
    FilterCondition(const Private& grid, const Filter& filter);
    bool operator()(const wire::Value& value);
    // Of so many numbers and moments to come, whether each is among those shown: no text is made of it then.
    void Expect(size_t values) { known_.reserve(qsizetype(values)); }
    void Know(const wire::Value& value, bool shown);
    // Else the texts shown are looked through when the first value asks for it.
    void ReadTexts();

    // A bound as the field's own type; null where there is none, or none that can be read.
    static wire::Value Bound(const QString& text, bool date);

private:
    struct Bounds {
        wire::Value from;
        wire::Value to;
    };
    bool IsWithin(const wire::Value& value) const;
    bool IsShown(const wire::Value& value);

    FilterTexts texts_;
    QStringList shown_; // none: whatever lies within the bounds
    QSet<QString> shownTexts_; // once they were read
    QHash<qint64, bool> known_;
    std::optional<bool> blankShown_; // once it was asked
    bool hasFrom_;
    bool hasTo_;
    bool wholeDay_; // the upper bound is a date alone
    Bounds numbers_;
    Bounds moments_;
};
