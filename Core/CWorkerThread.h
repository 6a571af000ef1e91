#pragma once

namespace orl {

class CError;

// A job for a worker thread of a pool. The job keeps its own result: the pool logs and deletes
// an error it finds there, so a job whose caller needs more has to keep that itself.
class CWorkerThread {
public:
    CWorkerThread() = default;
    virtual ~CWorkerThread() { deleteResult(); }
    CWorkerThread(const CWorkerThread&) = delete;
    CWorkerThread& operator=(const CWorkerThread&) = delete;

    virtual CError* run() = 0;

    CError* result() const { return m_result; }
    void setResult(CError* result) {
        deleteResult();
        m_result = result;
    }
    // Hands the error over to the caller, who deletes it.
    CError* takeResult() {
        CError* r = m_result;
        m_result = nullptr;
        return r;
    }

private:
    void deleteResult();

    CError* m_result = nullptr;
};

}  // namespace orl
