#pragma once

#include "framework/frm_Basic.h"

#include <QAction>

// The criteria of a screen's last query, kept for the account: what stood in the boxes that belong to no row
// when the query button was pressed, but for dates and pasted numbers. A screen opens on its own criteria;
// the action fills the kept ones in, where the boxes can be filled in.
class TLastCriteria : public QAction {
    Q_OBJECT
public:
    // For a screen that has boxes and a query button by now; nullptr for any other.
    static TLastCriteria* For(Tfrm_Basic& screen);
    ~TLastCriteria() override;

private:
    explicit TLastCriteria(Tfrm_Basic& screen);

    void Keep();
    void Recall();

    Tfrm_Basic& screen_;
    QString section_;
};
