<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU" sourcelanguage="en">
<context>
    <name>Tarnwell</name>
    <message>
        <source>CleanMemoryNow</source>
        <translation>Очистить память</translation>
    </message>
    <message>
        <source>SwapInfo</source>
        <translation>Файл подкачки</translation>
    </message>
    <message>
        <source>AdditionalInfo</source>
        <translation>Дополнительная информация</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Статистика</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Настройки</translation>
    </message>
    <message>
        <source>CheckForUpdates</source>
        <translation>Проверить обновления…</translation>
    </message>
    <message>
        <source>SupportPage</source>
        <translation>Поддержка</translation>
    </message>
    <message>
        <source>LearnMorePage</source>
        <translation>Подробнее</translation>
    </message>
    <message>
        <source>ProductPage</source>
        <translation>Сайт Tarnwell</translation>
    </message>
    <message>
        <source>PrivacyPage</source>
        <translation>Политика конфиденциальности</translation>
    </message>
    <message>
        <source>WelcomeToTarnwell</source>
        <translation>Добро пожаловать в Tarnwell</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Выйти</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Свободно</translation>
    </message>
    <message>
        <source>FreeMemory</source>
        <translation>Свободная память</translation>
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
        <translation>Зарезервировано</translation>
    </message>
    <message>
        <source>Compressed</source>
        <translation>Сжато</translation>
    </message>
    <message>
        <source>Used</source>
        <translation>Использовано</translation>
    </message>
    <message>
        <source>Total</source>
        <translation>Всего</translation>
    </message>
    <message>
        <source>Pages</source>
        <translation>стр.</translation>
    </message>
    <message>
        <source>CurrentSize</source>
        <translation>Размер</translation>
    </message>
    <message>
        <source>PageSize</source>
        <translation>Размер страницы</translation>
    </message>
    <message>
        <source>Encrypted</source>
        <translation>Зашифровано</translation>
    </message>
    <message>
        <source>YES</source>
        <translation>Да</translation>
    </message>
    <message>
        <source>NO</source>
        <translation>Нет</translation>
    </message>
    <message>
        <source>UserMemorySize</source>
        <translation>Память пользователя</translation>
    </message>
    <message>
        <source>PhysicalMemorySize</source>
        <translation>Установленная память</translation>
    </message>
    <message>
        <source>LastTimeCleaned</source>
        <translation>Последняя очистка</translation>
    </message>
    <message>
        <source>MaxCleaned</source>
        <translation>Наибольшая очистка</translation>
    </message>
    <message>
        <source>TotallyCleaned</source>
        <translation>Всего очищено</translation>
    </message>
    <message>
        <source>Cleaning</source>
        <translation>Очистка</translation>
    </message>
    <message>
        <source>Cleaned</source>
        <translation>очищено</translation>
    </message>
    <message>
        <source>NothingtoClean</source>
        <translation>Нечего очищать</translation>
    </message>
    <message>
        <source>MemoryUnreadable</source>
        <translation>Данные о памяти недоступны</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Основные</translation>
    </message>
    <message>
        <source>ApplicationsAndUtilitiesMonitoring</source>
        <translation>Приложения</translation>
    </message>
    <message>
        <source>AutoMemoryCleaning</source>
        <translation>Очистка</translation>
    </message>
    <message>
        <source>Updates</source>
        <translation>Обновления</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Основное</translation>
    </message>
    <message>
        <source>Additional</source>
        <translation>Дополнительно</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Расширенные</translation>
    </message>
    <message>
        <source>Visuals</source>
        <translation>Внешний вид</translation>
    </message>
    <message>
        <source>Notifications</source>
        <translation>Уведомления</translation>
    </message>
    <message>
        <source>startApplicationWhenComputerStarts</source>
        <translation>Запускать Tarnwell при входе в систему</translation>
    </message>
    <message>
        <source>showDockIcon</source>
        <translation>Показывать Tarnwell на панели задач</translation>
    </message>
    <message>
        <source>statusBarTextWithInfo</source>
        <translation>Показывать подпись перед значением</translation>
    </message>
    <message>
        <source>showNotificationsAfterCleaning</source>
        <translation>Показывать уведомление после каждой очистки</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Язык:</translation>
    </message>
    <message>
        <source>updateEvery</source>
        <translation>Обновлять каждые:</translation>
    </message>
    <message>
        <source>updateEveryInfo</source>
        <translation>Как часто обновляются показатели памяти на панели и в меню.</translation>
    </message>
    <message>
        <source>statusBarText</source>
        <translation>Текст на панели:</translation>
    </message>
    <message>
        <source>statusBarIcon</source>
        <translation>Значок на панели:</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Автоматически</translation>
    </message>
    <message>
        <source>English</source>
        <translation>Английский</translation>
    </message>
    <message>
        <source>Russian</source>
        <translation>Русский</translation>
    </message>
    <message>
        <source>Ukrainian</source>
        <translation>Украинский</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Нет</translation>
    </message>
    <message>
        <source>Percentage</source>
        <translation>Свободная память в процентах</translation>
    </message>
    <message>
        <source>FreeSize</source>
        <translation>Объём свободной памяти</translation>
    </message>
    <message>
        <source>StaticIcon2DBlack</source>
        <translation>Статичный значок, монохромный</translation>
    </message>
    <message>
        <source>StaticIcon3DGrayscale</source>
        <translation>Статичный значок, объёмный серый</translation>
    </message>
    <message>
        <source>PieChartIconBlack</source>
        <translation>Круговая диаграмма, монохромная</translation>
    </message>
    <message>
        <source>PieChartIconColor</source>
        <translation>Круговая диаграмма, цветная</translation>
    </message>
    <message>
        <source>statusBarTextPlacement</source>
        <translation>Где показывать текст:</translation>
    </message>
    <message>
        <source>TextPlacementAutomatic</source>
        <translation>Как позволяет панель</translation>
    </message>
    <message>
        <source>TextPlacementLabel</source>
        <translation>Рядом со значком</translation>
    </message>
    <message>
        <source>TextPlacementDrawn</source>
        <translation>В самом значке</translation>
    </message>
    <message>
        <source>statusBarAppearance</source>
        <translation>Цвет панели:</translation>
    </message>
    <message>
        <source>AppearanceAutomatic</source>
        <translation>Как в теме рабочего стола</translation>
    </message>
    <message>
        <source>AppearanceLight</source>
        <translation>Светлая</translation>
    </message>
    <message>
        <source>AppearanceDark</source>
        <translation>Тёмная</translation>
    </message>
    <message>
        <source>sec</source>
        <translation>сек</translation>
    </message>
    <message>
        <source>min</source>
        <translation>мин</translation>
    </message>
    <message>
        <source>CleaningMemoryWhen</source>
        <translation>Очищать память, когда приложение</translation>
    </message>
    <message>
        <source>CleaningMemoryWhenInfo</source>
        <translation>Выберите приложение в списке и отметьте события, после которых Tarnwell очищает память.</translation>
    </message>
    <message>
        <source>ChooseApplication</source>
        <translation>Добавьте приложения кнопкой «+».</translation>
    </message>
    <message>
        <source>ApplicationEventsNotAvailable</source>
        <translation>События приложений недоступны в этом сеансе: под Wayland Tarnwell не видит окна других приложений.</translation>
    </message>
    <message>
        <source>buttonDidLaunch</source>
        <translation>запускается</translation>
    </message>
    <message>
        <source>buttonDidTerminate</source>
        <translation>завершается</translation>
    </message>
    <message>
        <source>buttonDidHide</source>
        <translation>скрывается</translation>
    </message>
    <message>
        <source>buttonDidUnhide</source>
        <translation>снова показывается</translation>
    </message>
    <message>
        <source>buttonDidActivate</source>
        <translation>становится активным</translation>
    </message>
    <message>
        <source>buttonDidDeactivate</source>
        <translation>перестаёт быть активным</translation>
    </message>
    <message>
        <source>showRunningApplicationsAndUtilities</source>
        <translation>Предлагать запущенные приложения</translation>
    </message>
    <message>
        <source>showApplicationsFromApplicationsFolder</source>
        <translation>Предлагать установленные приложения</translation>
    </message>
    <message>
        <source>showUtilitiesFromApplicationsFolder</source>
        <translation>Предлагать системные утилиты</translation>
    </message>
    <message>
        <source>Searching</source>
        <translation>Поиск приложений…</translation>
    </message>
    <message>
        <source>ApplicationsAndUtilities</source>
        <translation>Приложения</translation>
    </message>
    <message>
        <source>autoCleanByFreeSize</source>
        <translation>Очищать, когда свободной памяти меньше (МБ):</translation>
    </message>
    <message>
        <source>autoCleanByInactiveSize</source>
        <translation>Очищать, когда неактивной памяти больше (МБ):</translation>
    </message>
    <message>
        <source>autoCleanEveryTime</source>
        <translation>Очищать каждые:</translation>
    </message>
    <message>
        <source>autoCleanByFreeSizeInfo</source>
        <translation>Очистка начнётся сама, как только свободной памяти станет меньше этого объёма.</translation>
    </message>
    <message>
        <source>autoCleanByInactiveSizeInfo</source>
        <translation>Очистка начнётся сама, как только неактивной памяти станет больше этого объёма.</translation>
    </message>
    <message>
        <source>ApplicationUpdates</source>
        <translation>Обновления приложения</translation>
    </message>
    <message>
        <source>VersionAndBuildNumbers</source>
        <translation>Версия и сборка</translation>
    </message>
    <message>
        <source>AutomaticUpdateCheckBox</source>
        <translation>Проверять обновления автоматически</translation>
    </message>
    <message>
        <source>AutomaticDowloadUpdateCheckBox</source>
        <translation>Загружать обновления автоматически</translation>
    </message>
    <message>
        <source>Hourly</source>
        <translation>Каждый час</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Ежедневно</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Еженедельно</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Ежемесячно</translation>
    </message>
    <message>
        <source>UpdatesFeedStable</source>
        <translation>Стабильные версии</translation>
    </message>
    <message>
        <source>UpdatesFeedBeta</source>
        <translation>Бета-версии</translation>
    </message>
    <message>
        <source>UpdatesFeedAlpha</source>
        <translation>Альфа-версии</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Версия</translation>
    </message>
    <message>
        <source>Build</source>
        <translation>Сборка</translation>
    </message>
    <message>
        <source>startDiscoverThePreferences</source>
        <translation>Откройте настройки, чтобы выбрать, как Tarnwell показывает и очищает память.</translation>
    </message>
    <message>
        <source>language</source>
        <translation>ru</translation>
    </message>
    <message>
        <source>StatsKeyHeading</source>
        <translation>КЛЮЧ</translation>
    </message>
    <message>
        <source>StatsValueHeading</source>
        <translation>ЗНАЧЕНИЕ</translation>
    </message>
    <message>
        <source>StatsSizeHeading</source>
        <translation>РАЗМЕР</translation>
    </message>
    <message>
        <source>CleanFreeBefore</source>
        <translation>Свободно до очистки:</translation>
    </message>
    <message>
        <source>CleanFreeAfter</source>
        <translation>Свободно после очистки:</translation>
    </message>
    <message>
        <source>CleanFreed</source>
        <translation>Освобождено:</translation>
    </message>
    <message>
        <source>CleanNothingFreed</source>
        <translation>Нечего очищать: свободной памяти не прибавилось.</translation>
    </message>
    <message>
        <source>CleanDeclined</source>
        <translation>Память не очищена:</translation>
    </message>
    <message>
        <source>CleanRefusedAlreadyCleaning</source>
        <translation>очистка уже идёт.</translation>
    </message>
    <message>
        <source>CleanRefusedNoUsableStatistics</source>
        <translation>нет пригодной статистики памяти (объём свободной или неактивной памяти неизвестен).</translation>
    </message>
    <message>
        <source>CleanRefusedNoRoomAboveReserve</source>
        <translation>доступная память уже не превышает резерв, оставляемый системе.</translation>
    </message>
    <message>
        <source>CleanRefusedCouldNotStart</source>
        <translation>не удалось подготовить блок очистки или его поток.</translation>
    </message>
    <message>
        <source>UpdateWindowTitle</source>
        <translation>Обновление программы</translation>
    </message>
    <message>
        <source>UpdateUpToDateTitle</source>
        <translation>У вас последняя версия!</translation>
    </message>
    <message>
        <source>UpdateUpToDateInfo</source>
        <translation>Tarnwell %1 — новейшая из доступных версий.</translation>
    </message>
    <message>
        <source>UpdateFoundTitle</source>
        <translation>Доступна новая версия Tarnwell!</translation>
    </message>
    <message>
        <source>UpdateFoundInfo</source>
        <translation>Доступна версия Tarnwell %1, у вас — %2. Установить её сейчас?</translation>
    </message>
    <message>
        <source>UpdateSkipThisVersion</source>
        <translation>Пропустить эту версию</translation>
    </message>
    <message>
        <source>UpdateRemindMeLater</source>
        <translation>Напомнить позже</translation>
    </message>
    <message>
        <source>UpdateInstall</source>
        <translation>Установить обновление</translation>
    </message>
    <message>
        <source>UpdateCancel</source>
        <translation>Отменить</translation>
    </message>
    <message>
        <source>UpdateRestartNow</source>
        <translation>Перезапустить</translation>
    </message>
    <message>
        <source>UpdateLater</source>
        <translation>Позже</translation>
    </message>
    <message>
        <source>UpdateClose</source>
        <translation>Закрыть</translation>
    </message>
    <message>
        <source>UpdateDownloading</source>
        <translation>Загрузка обновления…</translation>
    </message>
    <message>
        <source>UpdateInstalling</source>
        <translation>Установка обновления…</translation>
    </message>
    <message>
        <source>UpdateInstalledTitle</source>
        <translation>Tarnwell %1 установлен.</translation>
    </message>
    <message>
        <source>UpdateInstalledInfo</source>
        <translation>Перезапустить Tarnwell, чтобы начать работу с новой версией?</translation>
    </message>
    <message>
        <source>UpdateErrorFeed</source>
        <translation>Не удалось получить сведения об обновлениях.</translation>
    </message>
    <message>
        <source>UpdateErrorDownload</source>
        <translation>Не удалось загрузить обновление.</translation>
    </message>
    <message>
        <source>UpdateErrorVerification</source>
        <translation>Загруженное обновление не прошло проверку подлинности и удалено.</translation>
    </message>
    <message>
        <source>UpdateErrorInstall</source>
        <translation>Не удалось установить обновление.</translation>
    </message>
    <message>
        <source>UpdateNotificationAvailable</source>
        <translation>Доступен Tarnwell %1</translation>
    </message>
    <message>
        <source>UpdateNotificationReady</source>
        <translation>Tarnwell %1 готов к установке</translation>
    </message>
    <message>
        <source>UpdateNotificationInfo</source>
        <translation>Нажмите, чтобы узнать, что нового.</translation>
    </message>
    <message>
        <source>UpdateNotificationShow</source>
        <translation>Показать</translation>
    </message>
</context>
</TS>
