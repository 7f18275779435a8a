#pragma once

#include <QString>

#include <sqlite3.h>

namespace kalvo {

// A prepared statement that is finalised when it goes out of scope, so no
// statement outlives the operation that prepared it.
class SqliteStatement
{
public:
    SqliteStatement(sqlite3 *db, const char *sql)
    {
        if (db)
            m_ok = sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr) == SQLITE_OK;
    }
    ~SqliteStatement() { sqlite3_finalize(m_statement); }

    SqliteStatement(const SqliteStatement &) = delete;
    SqliteStatement &operator=(const SqliteStatement &) = delete;

    bool isPrepared() const { return m_ok; }

    void bind(int index, const QString &text)
    {
        const QByteArray utf8 = text.toUtf8();
        sqlite3_bind_text(m_statement, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    }
    void bind(int index, double value) { sqlite3_bind_double(m_statement, index, value); }
    void bind(int index, int value) { sqlite3_bind_int(m_statement, index, value); }

    // True while the statement produced a row.
    bool step() { return sqlite3_step(m_statement) == SQLITE_ROW; }
    // Ready to run again with new values.
    void reset()
    {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }

    QString text(int column) const
    {
        const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(m_statement, column));
        return bytes ? QString::fromUtf8(bytes, sqlite3_column_bytes(m_statement, column)) : QString();
    }
    double real(int column) const { return sqlite3_column_double(m_statement, column); }
    qint64 integer(int column) const { return sqlite3_column_int64(m_statement, column); }

private:
    sqlite3_stmt *m_statement = nullptr;
    bool m_ok = false;
};

} // namespace kalvo
