#pragma once

#include <QWidget>

#include "ui/preferences/PreferencesServices.h"

namespace tarnwell {

// The Apps tab's page; empty for now.
class AppsTab : public QWidget {
    Q_OBJECT
public:
    explicit AppsTab(PreferencesServices &services, QWidget *parent = nullptr);

    void languageDidChanged() {}
};

}  // namespace tarnwell
