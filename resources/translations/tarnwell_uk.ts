<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="uk_UA" sourcelanguage="en">
<context>
    <name>Tarnwell</name>
    <message>
        <source>CleanMemoryNow</source>
        <translation>Очистити пам’ять</translation>
    </message>
    <message>
        <source>SwapInfo</source>
        <translation>Файл підкачки</translation>
    </message>
    <message>
        <source>AdditionalInfo</source>
        <translation>Додаткова інформація</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Статистика</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Налаштування</translation>
    </message>
    <message>
        <source>CheckForUpdates</source>
        <translation>Перевірити оновлення…</translation>
    </message>
    <message>
        <source>SupportPage</source>
        <translation>Підтримка</translation>
    </message>
    <message>
        <source>LearnMorePage</source>
        <translation>Докладніше</translation>
    </message>
    <message>
        <source>ProductPage</source>
        <translation>Сайт Tarnwell</translation>
    </message>
    <message>
        <source>PrivacyPage</source>
        <translation>Політика конфіденційності</translation>
    </message>
    <message>
        <source>WelcomeToTarnwell</source>
        <translation>Ласкаво просимо до Tarnwell</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Вийти</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Вільно</translation>
    </message>
    <message>
        <source>FreeMemory</source>
        <translation>Вільна пам’ять</translation>
    </message>
    <message>
        <source>Inactive</source>
        <translation>Неактивно</translation>
    </message>
    <message>
        <source>Active</source>
        <translation>Активно</translation>
    </message>
    <message>
        <source>Wire</source>
        <translation>Зарезервовано</translation>
    </message>
    <message>
        <source>Compressed</source>
        <translation>Стиснуто</translation>
    </message>
    <message>
        <source>Used</source>
        <translation>Використано</translation>
    </message>
    <message>
        <source>Total</source>
        <translation>Усього</translation>
    </message>
    <message>
        <source>Pages</source>
        <translation>стор.</translation>
    </message>
    <message>
        <source>CurrentSize</source>
        <translation>Розмір</translation>
    </message>
    <message>
        <source>PageSize</source>
        <translation>Розмір сторінки</translation>
    </message>
    <message>
        <source>Encrypted</source>
        <translation>Зашифровано</translation>
    </message>
    <message>
        <source>YES</source>
        <translation>Так</translation>
    </message>
    <message>
        <source>NO</source>
        <translation>Ні</translation>
    </message>
    <message>
        <source>UserMemorySize</source>
        <translation>Пам’ять користувача</translation>
    </message>
    <message>
        <source>PhysicalMemorySize</source>
        <translation>Встановлена пам’ять</translation>
    </message>
    <message>
        <source>LastTimeCleaned</source>
        <translation>Останнє очищення</translation>
    </message>
    <message>
        <source>MaxCleaned</source>
        <translation>Найбільше очищення</translation>
    </message>
    <message>
        <source>TotallyCleaned</source>
        <translation>Усього очищено</translation>
    </message>
    <message>
        <source>Cleaning</source>
        <translation>Очищення</translation>
    </message>
    <message>
        <source>Cleaned</source>
        <translation>очищено</translation>
    </message>
    <message>
        <source>NothingtoClean</source>
        <translation>Нічого очищати</translation>
    </message>
    <message>
        <source>MemoryUnreadable</source>
        <translation>Дані про пам’ять недоступні</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Загальні</translation>
    </message>
    <message>
        <source>ApplicationsAndUtilitiesMonitoring</source>
        <translation>Програми</translation>
    </message>
    <message>
        <source>AutoMemoryCleaning</source>
        <translation>Очищення</translation>
    </message>
    <message>
        <source>Updates</source>
        <translation>Оновлення</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Основне</translation>
    </message>
    <message>
        <source>Additional</source>
        <translation>Додатково</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Розширені</translation>
    </message>
    <message>
        <source>Visuals</source>
        <translation>Зовнішній вигляд</translation>
    </message>
    <message>
        <source>Notifications</source>
        <translation>Сповіщення</translation>
    </message>
    <message>
        <source>startApplicationWhenComputerStarts</source>
        <translation>Запускати Tarnwell під час входу в систему</translation>
    </message>
    <message>
        <source>showDockIcon</source>
        <translation>Показувати Tarnwell на панелі завдань</translation>
    </message>
    <message>
        <source>statusBarTextWithInfo</source>
        <translation>Показувати підпис перед значенням</translation>
    </message>
    <message>
        <source>showNotificationsAfterCleaning</source>
        <translation>Показувати сповіщення після кожного очищення</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Мова:</translation>
    </message>
    <message>
        <source>updateEvery</source>
        <translation>Оновлювати кожні:</translation>
    </message>
    <message>
        <source>updateEveryInfo</source>
        <translation>Як часто оновлюються показники пам’яті на панелі та в меню.</translation>
    </message>
    <message>
        <source>statusBarText</source>
        <translation>Текст на панелі:</translation>
    </message>
    <message>
        <source>statusBarIcon</source>
        <translation>Значок на панелі:</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Автоматично</translation>
    </message>
    <message>
        <source>English</source>
        <translation>Англійська</translation>
    </message>
    <message>
        <source>Russian</source>
        <translation>Російська</translation>
    </message>
    <message>
        <source>Ukrainian</source>
        <translation>Українська</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Немає</translation>
    </message>
    <message>
        <source>Percentage</source>
        <translation>Вільна пам’ять у відсотках</translation>
    </message>
    <message>
        <source>FreeSize</source>
        <translation>Обсяг вільної пам’яті</translation>
    </message>
    <message>
        <source>StaticIcon2DBlack</source>
        <translation>Статичний значок, монохромний</translation>
    </message>
    <message>
        <source>StaticIcon3DGrayscale</source>
        <translation>Статичний значок, об’ємний сірий</translation>
    </message>
    <message>
        <source>PieChartIconBlack</source>
        <translation>Кругова діаграма, монохромна</translation>
    </message>
    <message>
        <source>PieChartIconColor</source>
        <translation>Кругова діаграма, кольорова</translation>
    </message>
    <message>
        <source>statusBarTextPlacement</source>
        <translation>Де показувати текст:</translation>
    </message>
    <message>
        <source>TextPlacementAutomatic</source>
        <translation>Як дозволяє панель</translation>
    </message>
    <message>
        <source>TextPlacementLabel</source>
        <translation>Поруч зі значком</translation>
    </message>
    <message>
        <source>TextPlacementDrawn</source>
        <translation>У самому значку</translation>
    </message>
    <message>
        <source>statusBarAppearance</source>
        <translation>Колір панелі:</translation>
    </message>
    <message>
        <source>AppearanceAutomatic</source>
        <translation>Як у темі робочого столу</translation>
    </message>
    <message>
        <source>AppearanceLight</source>
        <translation>Світла</translation>
    </message>
    <message>
        <source>AppearanceDark</source>
        <translation>Темна</translation>
    </message>
    <message>
        <source>sec</source>
        <translation>с</translation>
    </message>
    <message>
        <source>min</source>
        <translation>хв</translation>
    </message>
    <message>
        <source>CleaningMemoryWhen</source>
        <translation>Очищати пам’ять, коли програма</translation>
    </message>
    <message>
        <source>CleaningMemoryWhenInfo</source>
        <translation>Виберіть програму в списку та позначте події, після яких Tarnwell очищає пам’ять.</translation>
    </message>
    <message>
        <source>ChooseApplication</source>
        <translation>Додайте програми кнопкою «+».</translation>
    </message>
    <message>
        <source>ApplicationEventsNotAvailable</source>
        <translation>Події програм недоступні в цьому сеансі: під Wayland Tarnwell не бачить вікна інших програм.</translation>
    </message>
    <message>
        <source>buttonDidLaunch</source>
        <translation>запускається</translation>
    </message>
    <message>
        <source>buttonDidTerminate</source>
        <translation>завершується</translation>
    </message>
    <message>
        <source>buttonDidHide</source>
        <translation>ховається</translation>
    </message>
    <message>
        <source>buttonDidUnhide</source>
        <translation>знову з’являється</translation>
    </message>
    <message>
        <source>buttonDidActivate</source>
        <translation>стає активною</translation>
    </message>
    <message>
        <source>buttonDidDeactivate</source>
        <translation>перестає бути активною</translation>
    </message>
    <message>
        <source>showRunningApplicationsAndUtilities</source>
        <translation>Пропонувати запущені програми</translation>
    </message>
    <message>
        <source>showApplicationsFromApplicationsFolder</source>
        <translation>Пропонувати встановлені програми</translation>
    </message>
    <message>
        <source>showUtilitiesFromApplicationsFolder</source>
        <translation>Пропонувати системні утиліти</translation>
    </message>
    <message>
        <source>Searching</source>
        <translation>Пошук програм…</translation>
    </message>
    <message>
        <source>ApplicationsAndUtilities</source>
        <translation>Програми</translation>
    </message>
    <message>
        <source>autoCleanByFreeSize</source>
        <translation>Очищати, коли вільної пам’яті менше (МБ):</translation>
    </message>
    <message>
        <source>autoCleanByInactiveSize</source>
        <translation>Очищати, коли неактивної пам’яті більше (МБ):</translation>
    </message>
    <message>
        <source>autoCleanEveryTime</source>
        <translation>Очищати кожні:</translation>
    </message>
    <message>
        <source>autoCleanByFreeSizeInfo</source>
        <translation>Очищення почнеться само, щойно вільної пам’яті стане менше за цей обсяг.</translation>
    </message>
    <message>
        <source>autoCleanByInactiveSizeInfo</source>
        <translation>Очищення почнеться само, щойно неактивної пам’яті стане більше за цей обсяг.</translation>
    </message>
    <message>
        <source>ApplicationUpdates</source>
        <translation>Оновлення програми</translation>
    </message>
    <message>
        <source>VersionAndBuildNumbers</source>
        <translation>Версія та збірка</translation>
    </message>
    <message>
        <source>AutomaticUpdateCheckBox</source>
        <translation>Перевіряти оновлення автоматично</translation>
    </message>
    <message>
        <source>AutomaticDowloadUpdateCheckBox</source>
        <translation>Завантажувати оновлення автоматично</translation>
    </message>
    <message>
        <source>Hourly</source>
        <translation>Щогодини</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Щодня</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Щотижня</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Щомісяця</translation>
    </message>
    <message>
        <source>UpdatesFeedStable</source>
        <translation>Стабільні версії</translation>
    </message>
    <message>
        <source>UpdatesFeedBeta</source>
        <translation>Бета-версії</translation>
    </message>
    <message>
        <source>UpdatesFeedAlpha</source>
        <translation>Альфа-версії</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Версія</translation>
    </message>
    <message>
        <source>Build</source>
        <translation>Збірка</translation>
    </message>
    <message>
        <source>startDiscoverThePreferences</source>
        <translation>Відкрийте налаштування, щоб вибрати, як Tarnwell показує та очищає пам’ять.</translation>
    </message>
    <message>
        <source>language</source>
        <translation>uk</translation>
    </message>
    <message>
        <source>StatsKeyHeading</source>
        <translation>КЛЮЧ</translation>
    </message>
    <message>
        <source>StatsValueHeading</source>
        <translation>ЗНАЧЕННЯ</translation>
    </message>
    <message>
        <source>StatsSizeHeading</source>
        <translation>РОЗМІР</translation>
    </message>
    <message>
        <source>CleanFreeBefore</source>
        <translation>Вільно до очищення:</translation>
    </message>
    <message>
        <source>CleanFreeAfter</source>
        <translation>Вільно після очищення:</translation>
    </message>
    <message>
        <source>CleanFreed</source>
        <translation>Звільнено:</translation>
    </message>
    <message>
        <source>CleanNothingFreed</source>
        <translation>Нічого очищати: вільної пам’яті не побільшало.</translation>
    </message>
    <message>
        <source>CleanDeclined</source>
        <translation>Пам’ять не очищено:</translation>
    </message>
    <message>
        <source>CleanRefusedAlreadyCleaning</source>
        <translation>очищення вже триває.</translation>
    </message>
    <message>
        <source>CleanRefusedNoUsableStatistics</source>
        <translation>немає придатної статистики пам’яті (обсяг вільної чи неактивної пам’яті невідомий).</translation>
    </message>
    <message>
        <source>CleanRefusedNoRoomAboveReserve</source>
        <translation>доступна пам’ять уже не перевищує резерв, що залишається системі.</translation>
    </message>
    <message>
        <source>CleanRefusedCouldNotStart</source>
        <translation>не вдалося підготувати блок очищення або його потік.</translation>
    </message>
    <message>
        <source>UpdateWindowTitle</source>
        <translation>Оновлення програми</translation>
    </message>
    <message>
        <source>UpdateUpToDateTitle</source>
        <translation>У вас найновіша версія!</translation>
    </message>
    <message>
        <source>UpdateUpToDateInfo</source>
        <translation>Tarnwell %1 — найновіша з доступних версій.</translation>
    </message>
    <message>
        <source>UpdateFoundTitle</source>
        <translation>Доступна нова версія Tarnwell!</translation>
    </message>
    <message>
        <source>UpdateFoundInfo</source>
        <translation>Доступна версія Tarnwell %1, у вас — %2. Встановити її зараз?</translation>
    </message>
    <message>
        <source>UpdateSkipThisVersion</source>
        <translation>Пропустити цю версію</translation>
    </message>
    <message>
        <source>UpdateRemindMeLater</source>
        <translation>Нагадати пізніше</translation>
    </message>
    <message>
        <source>UpdateInstall</source>
        <translation>Встановити оновлення</translation>
    </message>
    <message>
        <source>UpdateCancel</source>
        <translation>Скасувати</translation>
    </message>
    <message>
        <source>UpdateRestartNow</source>
        <translation>Перезапустити</translation>
    </message>
    <message>
        <source>UpdateLater</source>
        <translation>Пізніше</translation>
    </message>
    <message>
        <source>UpdateClose</source>
        <translation>Закрити</translation>
    </message>
    <message>
        <source>UpdateDownloading</source>
        <translation>Завантаження оновлення…</translation>
    </message>
    <message>
        <source>UpdateInstalling</source>
        <translation>Встановлення оновлення…</translation>
    </message>
    <message>
        <source>UpdateInstalledTitle</source>
        <translation>Tarnwell %1 встановлено.</translation>
    </message>
    <message>
        <source>UpdateInstalledInfo</source>
        <translation>Перезапустити Tarnwell, щоб почати роботу з новою версією?</translation>
    </message>
    <message>
        <source>UpdateErrorFeed</source>
        <translation>Не вдалося отримати відомості про оновлення.</translation>
    </message>
    <message>
        <source>UpdateErrorDownload</source>
        <translation>Не вдалося завантажити оновлення.</translation>
    </message>
    <message>
        <source>UpdateErrorVerification</source>
        <translation>Завантажене оновлення не пройшло перевірку автентичності й видалене.</translation>
    </message>
    <message>
        <source>UpdateErrorInstall</source>
        <translation>Не вдалося встановити оновлення.</translation>
    </message>
    <message>
        <source>UpdateNotificationAvailable</source>
        <translation>Доступний Tarnwell %1</translation>
    </message>
    <message>
        <source>UpdateNotificationReady</source>
        <translation>Tarnwell %1 готовий до встановлення</translation>
    </message>
    <message>
        <source>UpdateNotificationInfo</source>
        <translation>Натисніть, щоб дізнатися, що нового.</translation>
    </message>
    <message>
        <source>UpdateNotificationShow</source>
        <translation>Показати</translation>
    </message>
</context>
</TS>
