#pragma once

#include <QStringList>

class QQuickItem;

/// The texts in view below `root` that reach out of the content they belong to, a line each: what a
/// look at the pictures would find. Code and quotes may reach out by DrawnText::overhang.
QStringList findMisfits(const QQuickItem &root);
