#pragma once

#include "runtime/data/ClientDataSet.h"
#include "runtime/data/DataSource.h"
#include "runtime/ui/ListStyle.h"

#include <QDialog>

class QCheckBox;
class QGridLayout;
class QPushButton;
class QSpinBox;
class TDBGridEh;

// 首选项: how the lists look. What is chosen is shown at once, by a few rows here and by every open list
// behind; cancelled, all of them look as before.
class TPreferencesWindow : public QDialog {
    Q_OBJECT
public:
    explicit TPreferencesWindow(QWidget* owner);
    ~TPreferencesWindow() override;

    void done(int result) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    QSpinBox* AddNumber(QGridLayout& rows, const QString& label, const QString& name, int from, int to);
    QPushButton* AddColor(
        QGridLayout& rows, const QString& label, const QString& name, QColor TListStyle::*color);
    void ChooseColor(QColor TListStyle::*color, const QString& title);
    void OpenSample();
    void Show(const TListStyle& style);
    void Apply();

    const TListStyle before_;
    TListStyle style_;
    bool showing_ = false;
    QSpinBox* fontSize_;
    QSpinBox* rowSpace_;
    QCheckBox* stripes_;
    std::vector<std::pair<QPushButton*, QColor TListStyle::*>> colors_;
    TClientDataSetEx sampleRows_;
    TDataSource sampleSource_;
    TDBGridEh* sample_;
};
