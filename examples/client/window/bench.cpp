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
constexpr int idleTime = 500;      // ms
constexpr double stepPart = 0.9;   // part of the view's height, for each frame
constexpr int seenPages = 20;      // scrolled through once more

/// Times frames: from the start of the preparation until the frame is on the screen.
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

    /// Draws a frame; returns its duration in ms.
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

void passUntilComplete(MessageListModel *model)
{
    while (!model->isComplete())
        pass(20);
}

/// As the system counts it; 0 if it does not.
double residentMegabytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QString text = QString::fromLatin1(status.readAll());
    const QString line = text.mid(text.indexOf(QStringLiteral("VmRSS:"))).section(u'\n', 0, 0);
    return line.simplified().section(u' ', 1, 1).toDouble() / 1024;
}

/// Moves a view by steps until `end`; returns the duration of each frame.
std::vector<double> scrollTo(QQuickItem *view, FrameClock &clock, double end)
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

/// The view of the messages, and a dialog; nothing, with a message, when it does not exist.
std::pair<QQuickItem *, ClientDialog *> find(QQuickWindow *window, Session *session,
                                             const QString &dialogId)
{
    auto *view = window->findChild<QQuickItem *>(QStringLiteral("messageView"));
    ClientDialog *dialog = session ? session->dialogs()->find(dialogId) : nullptr;
    if (view && dialog)
        return {view, dialog};
    QTextStream(stderr) << "There is no long history; make one with --history.\n";
    return {};
}

} // namespace

void bench::prepare(const QStringList &feeds, const QString &media, int count)
{
    auto *account = qobject_cast<ClientAccount *>(AccountManager::getInstance()->currentAccount());
    longhistory::generate(account, smallDialog, feeds, media, smallCount);
    longhistory::generate(account, longDialog, feeds, media, count);
}

int bench::open(QQuickWindow *window, Session *session)
{
    const auto [view, dialog] = find(window, session, longDialog);
    if (!view)
        return 1;
    pass(idleTime); // as a user would look for the dialog
    FrameClock clock(window);
    double time = milliseconds([&] { session->open(dialog); });
    time += clock.frame();
    const int first = view->property("first").toInt();
    if (first < 0)
        return 1;
    QTextStream(stdout) << view->property("last").toInt() - first + 1 << ' ' << time << '\n';
    return 0;
}

int bench::contents(Session *session, int rows)
{
    ClientDialog *dialog = session ? session->dialogs()->find(longDialog) : nullptr;
    if (!dialog)
        return 1;
    MessageListModel *model = session->messages();
    model->open(dialog);
    const double time = milliseconds([&] {
        for (int row = model->count() - rows; row < model->count(); ++row)
            model->at(row);
    });
    QTextStream(stdout) << time << '\n';
    return 0;
}

int bench::scroll(QQuickWindow *window, Session *session)
{
    const auto [view, small] = find(window, session, smallDialog);
    ClientDialog *large = find(window, session, longDialog).second;
    if (!small || !large)
        return 1;
    QTextStream out(stdout);
    FrameClock clock(window);
    MessageListModel *model = session->messages();
    session->open(small);
    passUntilComplete(model);
    scrollTo(view, clock, 0);
    // Every kind has been seen by now, but not the following rows.
    double opening = milliseconds([&] { session->open(large); });
    opening += clock.frame();
    out << QStringLiteral("another dialog, when every kind was seen before: %1 ms\n")
               .arg(opening, 0, 'f', 1);

    QElapsedTimer timer;
    timer.start();
    passUntilComplete(model);
    out << QStringLiteral("places: %1 rows after %2 ms more\n")
               .arg(model->count())
               .arg(timer.elapsed());
    out.flush();
    const double end = view->property("contentHeight").toDouble() - view->height();
    out << QStringLiteral("to the first message: %1\n").arg(summary(scrollTo(view, clock, 0)));
    out << QStringLiteral("resident memory: %1 MB\n").arg(residentMegabytes(), 0, 'f', 0);
    scrollTo(view, clock, std::min(end, view->height() * seenPages));
    const int itemsBefore = model->itemsMade();
    const qint64 layoutsBefore = DrawnText::layoutsMade();
    const auto again = scrollTo(view, clock, 0);
    const int items = model->itemsMade() - itemsBefore;
    const qint64 layouts = DrawnText::layoutsMade() - layoutsBefore;
    out << QStringLiteral("%1 pages seen before: %2; %3 items and %4 layouts made anew\n")
               .arg(seenPages)
               .arg(summary(again))
               .arg(items)
               .arg(layouts);
    return items == 0 && layouts == 0 ? 0 : 1;
}
