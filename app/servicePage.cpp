#include "app/servicePage.h"

#include "lib/types/datastore.h"

servicePage::servicePage(datastore *store, QTabWidget *parent)
    : QTabWidget(parent)
    , m_cds(store)
{
    connect(m_cds, &datastore::dataUpdated, this, &servicePage::updateData);
}

void servicePage::updateData(const datastoreElementType &)
{
}
