// What stands in an SQLite file. Needs Qt Sql.
#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

namespace support {

/// The rows of a query, "|" between their values, through a connection of its own; the error of
/// one that fails.
inline QStringList rowsOf(const QString &path, const QString &sql)
{
    const QString connection = QStringLiteral("check");
    QStringList rows;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(path);
        database.open();
        QSqlQuery query(database);
        if (!query.exec(sql))
            rows.append(query.lastError().text());
        while (query.next()) {
            QStringList fields;
            for (int i = 0; i < query.record().count(); ++i)
                fields.append(query.isNull(i) ? QStringLiteral("NULL") : query.value(i).toString());
            rows.append(fields.join(QLatin1Char('|')));
        }
    }
    QSqlDatabase::removeDatabase(connection);
    return rows;
}

} // namespace support
