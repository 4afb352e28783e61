// Prints the text that the application shows after OK on each failed item. The arguments are
// folders. Prints one JSON array for each folder, with one object for each item. Needs no display.

#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>

#include "QELAnalysis.h"
#include "QELAnalysisData.h"
#include "QELXmlParser.h"

namespace {

nlohmann::json PressOk(unsigned int id) {
    QELAnalysisData& analysisData = *QELAnalysisData::GetInstance();
    try {
        if (!analysisData.IsValid(id)) {
            return {{"state", "refused"}};
        }
        analysisData.SetAnalysisData(id, QELAnalysis::m_Analyze(id));
    } catch (const std::exception& error) {
        return {{"state", "malformed"}, {"exception", error.what()}};
    }
    return {{"state", "done"}, {"text", analysisData.GetAnalysisData(id)}};
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        delete QELAnalysisData::m_QELAnalysisData;
        QELAnalysisData::m_QELAnalysisData = nullptr;
        QELXmlParser& store = *QELXmlParser::GetInstance();
        store.ParseFolder(argv[i]);
        nlohmann::json items = nlohmann::json::array();
        for (unsigned int id = 0; id < store.GetNumOfResult(); ++id) {
            items.push_back(PressOk(id));
        }
        std::cout << items << "\n";
        store.ReleaseDocument();
    }
    return 0;
}
