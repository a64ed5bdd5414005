// What Qt itself needs to show a window: the peer of the host's start.
#include <QApplication>
#include <QMainWindow>
#include <QMdiArea>
#include <QTimer>

#include <cstdio>

namespace {

// The area covers its window, whose own painting never happens.
class TBareArea : public QMdiArea {
protected:
    void paintEvent(QPaintEvent* event) override
    {
        QMdiArea::paintEvent(event);
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
    QMainWindow window;
    window.setCentralWidget(new TBareArea);
    window.resize(864, 600);
    window.show();
    return QApplication::exec();
}
