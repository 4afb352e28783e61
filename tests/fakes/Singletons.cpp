#include "Singletons.h"

#include "QELAnalysisData.h"
#include "QELPopupLoading.h"
#include "QELXmlParser.h"

namespace singletons {

void ResetStores() {
    delete QELAnalysisData::m_QELAnalysisData;
    QELAnalysisData::m_QELAnalysisData = nullptr;
    delete QELXmlParser::m_qelXmlParser;
    QELXmlParser::m_qelXmlParser = nullptr;
}

void ResetPopup() {
    delete QELPopupLoading::m_QELPopupLoading;
    QELPopupLoading::m_QELPopupLoading = nullptr;
    QELPopupLoading::m_ResultText.clear();
    QELPopupLoading::m_IsRunning = false;
}

}  // namespace singletons
