#pragma once

#include <QStringList>

class QQuickWindow;
class Session;

/// What a long history costs.
namespace bench
{

/// Keeps a dialog of `count` messages and a small one for the current account.
void prepare(const QStringList &feeds, const QString &media, int count);
/// Opens and scrolls it; prints what that costs. 0 when nothing costs more than it may.
int run(QQuickWindow *window, Session *session, const QStringList &feeds);

} // namespace bench
