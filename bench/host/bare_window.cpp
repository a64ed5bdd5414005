// What Qt itself needs to show a window: the peer of the host's start.
#include <QApplication>
#include <QMainWindow>
#include <QMdiArea>
#include <QTimer>

#include <cstdio>

namespace {

class TBareWindow : public QMainWindow {
public:
    TBareWindow()
    {
        setCentralWidget(new QMdiArea);
        resize(864, 600);
    }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        QMainWindow::paintEvent(event);
        QTimer::singleShot(0, this, [] {
            std::puts("painted");
            std::fflush(stdout);
            QCoreApplication::exit(0);
        });
    }
};

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    TBareWindow window;
    window.show();
    return QApplication::exec();
}
