#pragma once

#include <QWidget>

#include "ui/preferences/PreferencesServices.h"

namespace tarnwell {

// The Updates tab's page; empty for now.
class UpdatesTab : public QWidget {
    Q_OBJECT
public:
    explicit UpdatesTab(PreferencesServices &services, QWidget *parent = nullptr);

    void languageDidChanged() {}
};

}  // namespace tarnwell
