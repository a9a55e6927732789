#include <QtTest>
class TestLanguage : public QObject {
    Q_OBJECT
private slots:
    void placeholder() {}
};
QTEST_GUILESS_MAIN(TestLanguage)
#include "tst_language.moc"
