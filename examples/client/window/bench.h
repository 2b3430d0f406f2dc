#pragma once

#include <QStringList>

class QQuickWindow;
class Session;

/// What a long history costs.
namespace bench
{

/// Keeps a dialog of `count` messages and a small one for the current account.
void prepare(const QStringList &feeds, const QString &media, int count);
// Each in a process of its own, so that none finds what another one has left in memory. They print
// what they measure; other than 0 comes back when that cannot be, or is too much.

/// Opens the large dialog. Prints how many rows its first page has, and after how many ms it is on
/// the screen.
int open(QQuickWindow *window, Session *session);
/// Reads, builds and measures the contents of so many rows, the newest, without a view. Prints ms.
int contents(Session *session, int rows);
/// Scrolls from end to end.
int scroll(QQuickWindow *window, Session *session);

} // namespace bench
