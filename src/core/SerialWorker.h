#pragma once

#include <QFuture>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

namespace kalvo {

// One background thread that runs submitted jobs one at a time, in order.
// A service that must keep blocking work (SQLite, parsing, file access) off
// the GUI thread owns one and co_awaits the futures it returns:
//
//     co_return co_await m_worker.run([store = m_store.get()] { return store->read(); });
//
// Declare the worker as the service's last member: its destructor waits for
// queued jobs, so they never outlive the state they capture.
class SerialWorker
{
public:
    SerialWorker()
    {
        m_pool.setMaxThreadCount(1);
        m_pool.setExpiryTimeout(-1);
    }
    ~SerialWorker() { m_pool.waitForDone(); }

    SerialWorker(const SerialWorker &) = delete;
    SerialWorker &operator=(const SerialWorker &) = delete;

    template<typename Job>
    auto run(Job job)
    {
        return QtConcurrent::run(&m_pool, std::move(job));
    }

private:
    QThreadPool m_pool;
};

} // namespace kalvo
