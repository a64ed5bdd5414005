#pragma once

#include <QHBoxLayout>

// A row of controls that goes on in a second line, and a third, where the window is too narrow for one. A
// label stays with the control it names; what only keeps distance is left out then.
class TFlowRow : public QHBoxLayout {
    Q_OBJECT
public:
    // Without margins; setSpacing changes the gaps.
    explicit TFlowRow(QWidget* panel);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    int minimumHeightForWidth(int width) const override { return heightForWidth(width); }
    QSize minimumSize() const override;
    void setGeometry(const QRect& room) override;

private:
    bool FitsInOneLine(int width) const;
    // The item behind this one and those that belong to it.
    int EndOfGroup(int first) const;
    int WidthOfGroup(int first, int end, int room) const;
    // The height of all lines; the items are put there where `place` says so.
    int FillLines(const QRect& room, bool place) const;
    void PlaceLine(int first, int end, const QRect& line) const;
};
