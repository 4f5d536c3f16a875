#include <corvane/shader/getShader.h>

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using corvane::shader::getShader;
using namespace Qt::StringLiterals;

class TstGetShader : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void serialisedShaderIsReadBack();
    void whatIsNoShaderIsInvalid();

private:
    QString path() const { return m_folder.filePath(u"s.qsb"_s); }
    void write(const QByteArray &bytes) const
    {
        QFile file(path());
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    QTemporaryDir m_folder;
};

void TstGetShader::serialisedShaderIsReadBack()
{
    QShader shader;
    shader.setStage(QShader::FragmentStage);
    shader.setShader(QShaderKey(QShader::SpirvShader, QShaderVersion(100)), QShaderCode("words"));
    write(shader.serialized());
    const QShader read = getShader(path());
    QVERIFY(read.isValid());
    QCOMPARE(read, shader);
}

void TstGetShader::whatIsNoShaderIsInvalid()
{
    QTest::ignoreMessage(QtWarningMsg, "Could not open :/no/such.qsb for reading shader");
    QVERIFY(!getShader(u":/no/such.qsb"_s).isValid());
    write(QByteArray("\0\0\0\4junk", 8));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"qUncompress"_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Attempted to deserialize"_s));
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Could not read a shader from"_s));
    QVERIFY(!getShader(path()).isValid());
}

QTEST_APPLESS_MAIN(TstGetShader)
#include "tst_getShader.moc"
