#pragma once

#include "app/settings/Capabilities.h"

#include <QAbstractTableModel>

#include <vector>

namespace varnel {

/// The capabilities as rows of a table: name, version, source and status.
class CapabilityTable final : public QAbstractTableModel {
public:
    /// Rows that stay, stay selected.
    void setRows(std::vector<CapabilityRow> rows);
    [[nodiscard]] const CapabilityRow* row(const QModelIndex& index) const;
    [[nodiscard]] QModelIndex find(const std::string& url) const;
    /// The first that needs the user, else the first.
    [[nodiscard]] QModelIndex firstOfInterest() const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<CapabilityRow> rows_;
};

} // namespace varnel
