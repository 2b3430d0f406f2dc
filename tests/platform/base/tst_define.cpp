#include "base/define.h"

#include <QCryptographicHash>
#include <QTest>

class TestDefine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Another value would make all encrypted data unreadable.
    void vectorIsFrozen()
    {
        const QByteArray digest =
            QCryptographicHash::hash("modelbase common vector 1", QCryptographicHash::Sha256);
        QCOMPARE(Define::comIV(), digest.first(16));
    }
};

QTEST_APPLESS_MAIN(TestDefine)
#include "tst_define.moc"
