#pragma once

#include <QStringList>

class QQuickWindow;
class Session;

/// The costs of a long history.
namespace bench
{

/// Keeps a dialog of `count` messages and a small one for the current account.
void prepare(const QStringList &feeds, const QString &media, int count);
// Each runs in its own process, so that none profits from what another one left in memory. They
// print their measurements; the result is not 0 if measuring fails, or a limit is exceeded.

/// Opens the large dialog. Prints the number of rows on its first page, and after how many ms it is
/// on the screen.
int open(QQuickWindow *window, Session *session);
/// Reads, builds and measures the contents of the newest `rows` rows, without a view. Prints ms.
int contents(Session *session, int rows);
/// Scrolls from end to end.
int scroll(QQuickWindow *window, Session *session);

} // namespace bench
