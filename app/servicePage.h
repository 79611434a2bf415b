#ifndef SERVICEPAGE_H
#define SERVICEPAGE_H

#include "lib/types/datastoreElementType.h"

#include <QTabWidget>

class datastore;

/// The "Service" page: one tab per instrument that offers a control widget.
///
/// Display thread only.
class servicePage : public QTabWidget
{
    Q_OBJECT

public:
    /// \a store must outlive the page.
    explicit servicePage(datastore *store, QTabWidget *parent = nullptr);

public slots:
    /// Nothing yet: the instruments' widgets follow their own signals.
    void updateData(const datastoreElementType &data);

private:
    datastore *m_cds;
};

#endif
