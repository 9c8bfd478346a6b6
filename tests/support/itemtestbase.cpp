#include "tests/support/itemtestbase.h"

#include <QTextCodec>

void ItemTestBase::initTestCase()
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

void ItemTestBase::init()
{
    TestBase::init();
    m_fixture.emplace();
}

void ItemTestBase::cleanup()
{
    m_fixture.reset();
    TestBase::cleanup();
}
