#include "client/window/bench.h"

#include "account/accountmanager.h"
#include "client/window/content/drawntext.h"
#include "client/window/longhistory.h"
#include "client/window/session.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QFile>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace
{

const QString longDialog = QStringLiteral("G-7999");
const QString smallDialog = QStringLiteral("G-7998");
constexpr int smallCount = 200;
constexpr double frameTime = 16.0; // ms
constexpr double maxRatio = 5.0;
constexpr double stepPart = 0.9; // of the view's height, for each frame
constexpr int seenPages = 20;    // that are scrolled through once more

/// Times frames: from where the window begins to prepare one until it is on the screen.
class FrameClock : public QObject
{
public:
    explicit FrameClock(QQuickWindow *window) : m_window(window)
    {
        window->installEventFilter(this);
        connect(window, &QQuickWindow::frameSwapped, this, [this] {
            m_milliseconds = double(m_timer.nsecsElapsed()) / 1e6;
            m_loop.quit();
        });
    }

    /// Draws a frame; ms that it took.
    double frame()
    {
        m_window->update();
        m_loop.exec();
        return m_milliseconds;
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest)
            m_timer.start();
        return QObject::eventFilter(watched, event);
    }

private:
    QQuickWindow *const m_window;
    QElapsedTimer m_timer;
    QEventLoop m_loop;
    double m_milliseconds = 0;
};

template <typename Action>
double milliseconds(Action action)
{
    QElapsedTimer timer;
    timer.start();
    action();
    return double(timer.nsecsElapsed()) / 1e6;
}

void pass(int time)
{
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

/// As the system counts it; 0 where it does not tell.
double residentMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QString text = QString::fromLatin1(status.readAll());
    const QString line = text.mid(text.indexOf(QStringLiteral("VmRSS:"))).section(u'\n', 0, 0);
    return line.simplified().section(u' ', 1, 1).toDouble() / 1024;
}

/// Moves a view by steps until `end`; what each frame took.
std::vector<double> scroll(QQuickItem *view, FrameClock &clock, double end)
{
    std::vector<double> times;
    double y = view->property("contentY").toDouble();
    const double step = view->height() * stepPart * (end < y ? -1 : 1);
    while (y != end) {
        y = std::abs(end - y) <= std::abs(step) ? end : y + step;
        const double bindings = milliseconds([&] { view->setProperty("contentY", y); });
        times.push_back(bindings + clock.frame());
    }
    return times;
}

QString summary(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    const auto late =
        std::count_if(times.cbegin(), times.cend(), [](double time) { return time > frameTime; });
    const auto at = [&](double part) { return times[size_t(double(times.size() - 1) * part)]; };
    return QStringLiteral("%1 frames, %2 over %3 ms; median %4 ms, 99 % below %5 ms, longest %6 ms")
        .arg(times.size())
        .arg(late)
        .arg(frameTime)
        .arg(at(0.5), 0, 'f', 1)
        .arg(at(0.99), 0, 'f', 1)
        .arg(times.back(), 0, 'f', 1);
}

} // namespace

void bench::prepare(const QStringList &feeds, const QString &media, int count)
{
    auto *account = qobject_cast<ClientAccount *>(AccountManager::getInstance()->currentAccount());
    longhistory::generate(account, smallDialog, feeds, media, smallCount);
    longhistory::generate(account, longDialog, feeds, media, count);
}

int bench::run(QQuickWindow *window, Session *session, const QStringList &feeds)
{
    QTextStream out(stdout);
    auto *view = window->findChild<QQuickItem *>(QStringLiteral("messageView"));
    ClientDialog *small = session ? session->dialogs()->find(smallDialog) : nullptr;
    ClientDialog *large = session ? session->dialogs()->find(longDialog) : nullptr;
    if (!view || !small || !large) {
        out << "There is no long history; make one with --history.\n";
        return 1;
    }
    // As in daily use: some other dialog was open before, and fonts are loaded.
    FrameClock clock(window);
    session->open(small);
    pass(1000);
    MessageListModel *model = session->messages();

    double opening = milliseconds([&] { session->open(large); });
    opening += clock.frame();
    const int first = view->property("first").toInt();
    const int last = view->property("last").toInt();
    pass(100);

    // The same messages of one period before, whose texts nobody has measured yet.
    const int period = longhistory::period(feeds);
    QList<QList<KeptMessage>> page;
    for (int row = first; row <= last; ++row) {
        const MessageRow shown = model->at(row);
        const auto places =
            session->store().places(longDialog, shown.messageId - period + 1 + smallCount, 1);
        if (places.isEmpty())
            continue;
        const MessagePlace &place = places.first();
        page.append(session->store().messages(
            longDialog, place.number, place.number + (place.group ? period / 2 : 0), place.group));
    }
    const double alone = milliseconds([&] {
        for (const auto &messages : std::as_const(page))
            session->make(messages);
    });
    const double ratio = opening / alone;
    out << QStringLiteral("first page: %1 rows after %2 ms; their items alone take %3 ms: "
                          "ratio %4 (at most %5)\n")
               .arg(last - first + 1)
               .arg(opening, 0, 'f', 1)
               .arg(alone, 0, 'f', 1)
               .arg(ratio, 0, 'f', 1)
               .arg(maxRatio);

    QElapsedTimer timer;
    timer.start();
    while (!model->isComplete())
        pass(20);
    out << QStringLiteral("places: %1 rows after %2 ms more\n")
               .arg(model->count())
               .arg(timer.elapsed());

    const double end = view->property("contentHeight").toDouble() - view->height();
    out << QStringLiteral("to the first message: %1\n").arg(summary(scroll(view, clock, 0)));
    out << QStringLiteral("resident memory: %1 MB\n").arg(residentMegabytes(), 0, 'f', 0);
    const double seen = std::min(end, view->height() * seenPages);
    scroll(view, clock, seen);
    const int itemsBefore = model->itemsMade();
    const qint64 layoutsBefore = DrawnText::layoutsMade();
    const auto again = scroll(view, clock, 0);
    const int items = model->itemsMade() - itemsBefore;
    const qint64 layouts = DrawnText::layoutsMade() - layoutsBefore;
    out << QStringLiteral("%1 pages seen before: %2; %3 items and %4 layouts made anew\n")
               .arg(seenPages)
               .arg(summary(again))
               .arg(items)
               .arg(layouts);
    out.flush();
    return ratio <= maxRatio && items == 0 && layouts == 0 ? 0 : 1;
}
