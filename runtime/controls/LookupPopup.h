#pragma once

#include "runtime/grid/DBGrid.h"

#include <QFrame>
#include <QPointer>

class QTableView;
class QKeyEvent;

// The drop-down list of a lookup: several columns of the list's rows that match what is typed. It never takes
// the focus; its edit hands keys over.
class TLookupPopup : public QFrame {
public:
    explicit TLookupPopup(QWidget* edit);
    ~TLookupPopup() override;

    // Below its edit, with the rows for what is typed, standing on the list's row `current` (-1: on none).
    void ShowRows(const TLookupParams& params, const QString& typed, int current);
    void Narrow(const QString& typed);
    // True when the key was the list's: moving, taking, closing.
    bool HandleKey(QKeyEvent* event);
    // The list dataset's view row that is marked; -1 when none.
    int CurrentRow() const;
    // Whether any row was found for what is typed; where none was, all are offered.
    bool Matched() const noexcept { return matched_; }
    // Whether the user moved the mark, so that it is more than a suggestion.
    bool Chosen() const noexcept { return chosen_; }

    std::function<void(bool accept)> OnDone;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    class Model;
    QWidget* edit_;
    Model* model_;
    QTableView* table_;
    TLookupParams params_;
    bool matched_ = false;
    bool chosen_ = false;
};
