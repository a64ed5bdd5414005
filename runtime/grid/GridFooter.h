#pragma once

#include <QWidget>

class TDBGridEh;

// The footer rows below the grid's rows, in step with the columns.
class TGridFooter : public QWidget {
    Q_OBJECT
public:
    explicit TGridFooter(TDBGridEh* grid);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    void PaintColumn(QPainter& painter, int column, int left);
    TDBGridEh* grid_;
};
