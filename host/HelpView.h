#pragma once

#include <QTextBrowser>

#include <functional>

class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

// The user guide inside the program: its pages as they lie beside the program, and a page of keys that is
// made when it is asked for.
namespace guide {

inline const QString kContents = QStringLiteral("README.md");
inline const QString kKeys = QStringLiteral("keys.md");

// Where the pages lie: "guide" beside the program.
QString Folder();
// The page about what the widget is part of: what the nearest thing around it names as its "guide", or its
// screen's page; empty where there is none.
QString PageOf(const QWidget* widget);

} // namespace guide

// A page with its pictures no wider than the window.
class TGuideBrowser : public QTextBrowser {
    Q_OBJECT
public:
    explicit TGuideBrowser(QWidget* parent);
    std::function<QString()> KeysPage; // Markdown
    QVariant loadResource(int type, const QUrl& name) override;

Q_SIGNALS:
    void Missing(const QString& page); // the contents are shown in its place

protected:
    void doSetSource(const QUrl& url, QTextDocument::ResourceType type) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Polish();
    int RoomForPictures() const;

    int pictureWidth_ = 0; // that the page was laid out for
};

// The page with its contents list, the ways back and forward, and a search.
class THelpView : public QWidget {
    Q_OBJECT
public:
    explicit THelpView(QWidget* parent = nullptr);
    // By file name; empty: the contents.
    void ShowPage(const QString& page);
    QString Page() const;
    TGuideBrowser& Browser() noexcept { return *browser_; }

Q_SIGNALS:
    void CloseWanted(); // by Esc

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void ReadContents();
    void SourceChanged(const QUrl& source);
    void Find(bool backwards);

    QComboBox* contents_;
    QToolButton* back_;
    QToolButton* forward_;
    QLineEdit* search_;
    QLabel* note_;
    TGuideBrowser* browser_;
};

// F1 in a window other than the frame, be it the login window or a dialog that waits for an answer: the page
// in a window of its own, which goes with that window.
class THelpKey : public QObject {
public:
    explicit THelpKey(std::function<QString()> screenPage);
    ~THelpKey() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<QString()> screenPage_; // of the screen in front, for a dialog that has no page
};
