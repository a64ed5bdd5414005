#pragma once

#include <QWidget>

#include <vector>

class TDBGridEh;

// The texts that a grid shows of its page, painted straight with QPainter: the floor of a frame.
class PaintedPage : public QWidget {
public:
    // Of the cells in sight, each as it fits and where.
    void Take(TDBGridEh& grid);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Text {
        QRect bounds;
        QString shown;
    };
    std::vector<Text> texts_;
};
