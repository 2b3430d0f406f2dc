#pragma once

#include <QStringList>

class QQuickItem;

/// The visible texts below `root` that extend beyond their content, one per line: what a look at
/// the pictures would find. Code and quotes may extend by DrawnText::overhang.
QStringList findMisfits(const QQuickItem &root);
