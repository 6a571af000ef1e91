#include "Core/CWorkerThread.h"

#include "Core/CError.h"

namespace orl {

void CWorkerThread::deleteResult() {
    deleteError(m_result);
    m_result = nullptr;
}

}  // namespace orl
