#pragma once

#include "runtime/grid/GridFind.h"

#include <QFrame>

class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

// The line above a list's titles that finds in it: a text, every hit marked and counted; or a pasted list of
// numbers, whose rows it puts first until it is closed.
class RUNTIME_EXPORT TFindBar : public QFrame {
    Q_OBJECT
public:
    // Opens it, or goes to it.
    static void Show(TDBGridEh& grid);
    // With the numbers on the clipboard.
    static void ShowPasted(TDBGridEh& grid);

    const TGridFind& Find() const noexcept { return find_; }
    bool Step(bool backwards);
    // Ends what it marks and puts the rows back.
    void Close();

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;

private:
    explicit TFindBar(TDBGridEh& grid);
    void Compose();
    QToolButton* AddButton(
        const QString& name, const QString& text, const QString& hint, const std::function<void()>& run);
    void OfferColumn();
    void FindTyped();
    void FindPasted(const QString& text);
    void ReadPasted();
    void ShowRows();
    bool PutBack(); // false: a rule keeps the row in edit where it is
    void ShowState();
    void ShowMissing();

    TDBGridEh& grid_;
    TGridFind find_;
    QLineEdit* text_ = nullptr;
    QComboBox* where_ = nullptr;
    QLabel* state_ = nullptr;
    QToolButton* missingButton_ = nullptr;
    QToolButton* select_ = nullptr;
    QToolButton* putBack_ = nullptr;

    TNumberSet numbers_;
    QTimer reading_; // while they are read
    QPointer<TNumberSearch> search_; // while the column is not known
    QString column_; // title of the one with the numbers
    std::vector<TBookmark> rows_;
    QStringList missing_;
    bool gathered_ = false;
    int room_ = 0; // by which the list is higher for it
};
