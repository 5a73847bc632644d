#include "rss/CJSHandler.h"

#include "rss/CRSSManager.h"

bool CJSHandler::done() {
    takeValidators();
    m_manager->addCode(url, buffer, static_cast<uint32_t>(length));
    giveBuffer();
    return status == 200;
}
