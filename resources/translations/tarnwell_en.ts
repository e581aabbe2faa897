<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB" sourcelanguage="en">
<context>
    <name>Tarnwell</name>
    <message>
        <source>CleanMemoryNow</source>
        <translation>Clean Memory Now</translation>
    </message>
    <message>
        <source>SwapInfo</source>
        <translation>Swap</translation>
    </message>
    <message>
        <source>AdditionalInfo</source>
        <translation>Additional Information</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistics</translation>
    </message>
    <message>
        <source>Preferences</source>
        <translation>Preferences</translation>
    </message>
    <message>
        <source>CheckForUpdates</source>
        <translation>Check for Updates…</translation>
    </message>
    <message>
        <source>SupportPage</source>
        <translation>Support</translation>
    </message>
    <message>
        <source>LearnMorePage</source>
        <translation>Learn More</translation>
    </message>
    <message>
        <source>ProductPage</source>
        <translation>Tarnwell Website</translation>
    </message>
    <message>
        <source>PrivacyPage</source>
        <translation>Privacy Policy</translation>
    </message>
    <message>
        <source>WelcomeToTarnwell</source>
        <translation>Welcome to Tarnwell</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Quit</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Free</translation>
    </message>
    <message>
        <source>FreeMemory</source>
        <translation>Free memory</translation>
    </message>
    <message>
        <source>Inactive</source>
        <translation>Inactive</translation>
    </message>
    <message>
        <source>Active</source>
        <translation>Active</translation>
    </message>
    <message>
        <source>Wire</source>
        <translation>Wired</translation>
    </message>
    <message>
        <source>Compressed</source>
        <translation>Compressed</translation>
    </message>
    <message>
        <source>Used</source>
        <translation>Used</translation>
    </message>
    <message>
        <source>Total</source>
        <translation>Total</translation>
    </message>
    <message>
        <source>Pages</source>
        <translation>pages</translation>
    </message>
    <message>
        <source>CurrentSize</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>PageSize</source>
        <translation>Page Size</translation>
    </message>
    <message>
        <source>Encrypted</source>
        <translation>Encrypted</translation>
    </message>
    <message>
        <source>YES</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>NO</source>
        <translation>No</translation>
    </message>
    <message>
        <source>UserMemorySize</source>
        <translation>User Memory</translation>
    </message>
    <message>
        <source>PhysicalMemorySize</source>
        <translation>Installed Memory</translation>
    </message>
    <message>
        <source>LastTimeCleaned</source>
        <translation>Last Cleaning</translation>
    </message>
    <message>
        <source>MaxCleaned</source>
        <translation>Largest Cleaning</translation>
    </message>
    <message>
        <source>TotallyCleaned</source>
        <translation>Cleaned in Total</translation>
    </message>
    <message>
        <source>Cleaning</source>
        <translation>Cleaning</translation>
    </message>
    <message>
        <source>Cleaned</source>
        <translation>cleaned</translation>
    </message>
    <message>
        <source>NothingtoClean</source>
        <translation>Nothing to Clean</translation>
    </message>
    <message>
        <source>MemoryUnreadable</source>
        <translation>Memory figures unavailable</translation>
    </message>
    <message>
        <source>General</source>
        <translation>General</translation>
    </message>
    <message>
        <source>ApplicationsAndUtilitiesMonitoring</source>
        <translation>Apps</translation>
    </message>
    <message>
        <source>AutoMemoryCleaning</source>
        <translation>Cleaning</translation>
    </message>
    <message>
        <source>Updates</source>
        <translation>Updates</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Basic</translation>
    </message>
    <message>
        <source>Additional</source>
        <translation>Additional</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Advanced</translation>
    </message>
    <message>
        <source>Visuals</source>
        <translation>Appearance</translation>
    </message>
    <message>
        <source>Notifications</source>
        <translation>Notifications</translation>
    </message>
    <message>
        <source>startApplicationWhenComputerStarts</source>
        <translation>Start Tarnwell when you log in</translation>
    </message>
    <message>
        <source>showDockIcon</source>
        <translation>Show Tarnwell in the taskbar</translation>
    </message>
    <message>
        <source>statusBarTextWithInfo</source>
        <translation>Put a label before the value</translation>
    </message>
    <message>
        <source>showNotificationsAfterCleaning</source>
        <translation>Show a notification after each cleaning</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Language:</translation>
    </message>
    <message>
        <source>updateEvery</source>
        <translation>Update every:</translation>
    </message>
    <message>
        <source>updateEveryInfo</source>
        <translation>How often the memory figures in the panel and the menu are refreshed.</translation>
    </message>
    <message>
        <source>statusBarText</source>
        <translation>Panel text:</translation>
    </message>
    <message>
        <source>statusBarIcon</source>
        <translation>Panel icon:</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automatic</translation>
    </message>
    <message>
        <source>English</source>
        <translation>English</translation>
    </message>
    <message>
        <source>Russian</source>
        <translation>Russian</translation>
    </message>
    <message>
        <source>Ukrainian</source>
        <translation>Ukrainian</translation>
    </message>
    <message>
        <source>None</source>
        <translation>None</translation>
    </message>
    <message>
        <source>Percentage</source>
        <translation>Free memory, per cent</translation>
    </message>
    <message>
        <source>FreeSize</source>
        <translation>Free memory, size</translation>
    </message>
    <message>
        <source>StaticIcon2DBlack</source>
        <translation>Static icon, monochrome</translation>
    </message>
    <message>
        <source>StaticIcon3DGrayscale</source>
        <translation>Static icon, 3D greyscale</translation>
    </message>
    <message>
        <source>PieChartIconBlack</source>
        <translation>Pie chart, monochrome</translation>
    </message>
    <message>
        <source>PieChartIconColor</source>
        <translation>Pie chart, colour</translation>
    </message>
    <message>
        <source>statusBarTextPlacement</source>
        <translation>Panel text shown:</translation>
    </message>
    <message>
        <source>TextPlacementAutomatic</source>
        <translation>As the panel allows</translation>
    </message>
    <message>
        <source>TextPlacementLabel</source>
        <translation>Beside the icon</translation>
    </message>
    <message>
        <source>TextPlacementDrawn</source>
        <translation>Drawn into the icon</translation>
    </message>
    <message>
        <source>statusBarAppearance</source>
        <translation>Panel colour:</translation>
    </message>
    <message>
        <source>AppearanceAutomatic</source>
        <translation>As the desktop says</translation>
    </message>
    <message>
        <source>AppearanceLight</source>
        <translation>Light</translation>
    </message>
    <message>
        <source>AppearanceDark</source>
        <translation>Dark</translation>
    </message>
    <message>
        <source>sec</source>
        <translation>sec</translation>
    </message>
    <message>
        <source>min</source>
        <translation>min</translation>
    </message>
    <message>
        <source>CleaningMemoryWhen</source>
        <translation>Clean Memory When the Application</translation>
    </message>
    <message>
        <source>CleaningMemoryWhenInfo</source>
        <translation>Select an application in the list, then tick the events after which Tarnwell cleans memory.</translation>
    </message>
    <message>
        <source>ChooseApplication</source>
        <translation>Add applications with the + button.</translation>
    </message>
    <message>
        <source>ApplicationEventsNotAvailable</source>
        <translation>Application events are not available in this session: under Wayland, Tarnwell cannot see other applications’ windows.</translation>
    </message>
    <message>
        <source>buttonDidLaunch</source>
        <translation>starts</translation>
    </message>
    <message>
        <source>buttonDidTerminate</source>
        <translation>quits</translation>
    </message>
    <message>
        <source>buttonDidHide</source>
        <translation>is hidden</translation>
    </message>
    <message>
        <source>buttonDidUnhide</source>
        <translation>is shown again</translation>
    </message>
    <message>
        <source>buttonDidActivate</source>
        <translation>becomes active</translation>
    </message>
    <message>
        <source>buttonDidDeactivate</source>
        <translation>stops being active</translation>
    </message>
    <message>
        <source>showRunningApplicationsAndUtilities</source>
        <translation>Offer running applications</translation>
    </message>
    <message>
        <source>showApplicationsFromApplicationsFolder</source>
        <translation>Offer installed applications</translation>
    </message>
    <message>
        <source>showUtilitiesFromApplicationsFolder</source>
        <translation>Offer system utilities</translation>
    </message>
    <message>
        <source>Searching</source>
        <translation>Looking for applications…</translation>
    </message>
    <message>
        <source>ApplicationsAndUtilities</source>
        <translation>Applications</translation>
    </message>
    <message>
        <source>autoCleanByFreeSize</source>
        <translation>Clean when free memory falls below (MB):</translation>
    </message>
    <message>
        <source>autoCleanByInactiveSize</source>
        <translation>Clean when inactive memory rises above (MB):</translation>
    </message>
    <message>
        <source>autoCleanEveryTime</source>
        <translation>Clean every:</translation>
    </message>
    <message>
        <source>autoCleanByFreeSizeInfo</source>
        <translation>Cleaning starts by itself as soon as free memory drops under this amount.</translation>
    </message>
    <message>
        <source>autoCleanByInactiveSizeInfo</source>
        <translation>Cleaning starts by itself as soon as inactive memory grows past this amount.</translation>
    </message>
    <message>
        <source>ApplicationUpdates</source>
        <translation>Application Updates</translation>
    </message>
    <message>
        <source>VersionAndBuildNumbers</source>
        <translation>Version and Build</translation>
    </message>
    <message>
        <source>AutomaticUpdateCheckBox</source>
        <translation>Check for updates automatically</translation>
    </message>
    <message>
        <source>AutomaticDowloadUpdateCheckBox</source>
        <translation>Download updates automatically</translation>
    </message>
    <message>
        <source>Hourly</source>
        <translation>Hourly</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Daily</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Weekly</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Monthly</translation>
    </message>
    <message>
        <source>UpdatesFeedStable</source>
        <translation>Stable releases</translation>
    </message>
    <message>
        <source>UpdatesFeedBeta</source>
        <translation>Beta releases</translation>
    </message>
    <message>
        <source>UpdatesFeedAlpha</source>
        <translation>Alpha releases</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Build</source>
        <translation>Build</translation>
    </message>
    <message>
        <source>startDiscoverThePreferences</source>
        <translation>Open the preferences to choose how Tarnwell shows and cleans your memory.</translation>
    </message>
    <message>
        <source>language</source>
        <translation>en</translation>
    </message>
    <message>
        <source>StatsKeyHeading</source>
        <translation>KEY</translation>
    </message>
    <message>
        <source>StatsValueHeading</source>
        <translation>VALUE</translation>
    </message>
    <message>
        <source>StatsSizeHeading</source>
        <translation>SIZE</translation>
    </message>
    <message>
        <source>CleanFreeBefore</source>
        <translation>Free memory before:</translation>
    </message>
    <message>
        <source>CleanFreeAfter</source>
        <translation>Free memory after:</translation>
    </message>
    <message>
        <source>CleanFreed</source>
        <translation>Freed:</translation>
    </message>
    <message>
        <source>CleanNothingFreed</source>
        <translation>Nothing to clean: free memory did not grow.</translation>
    </message>
    <message>
        <source>CleanDeclined</source>
        <translation>Memory was not cleaned:</translation>
    </message>
    <message>
        <source>CleanRefusedAlreadyCleaning</source>
        <translation>a cleaning is already running.</translation>
    </message>
    <message>
        <source>CleanRefusedNoUsableStatistics</source>
        <translation>no usable memory statistics (free or inactive memory unknown).</translation>
    </message>
    <message>
        <source>CleanRefusedNoRoomAboveReserve</source>
        <translation>available memory is already within the reserve kept for the system.</translation>
    </message>
    <message>
        <source>CleanRefusedCouldNotStart</source>
        <translation>the cleaning block or its thread could not be set up.</translation>
    </message>
    <message>
        <source>UpdateWindowTitle</source>
        <translation>Software Update</translation>
    </message>
    <message>
        <source>UpdateUpToDateTitle</source>
        <translation>You’re up to date!</translation>
    </message>
    <message>
        <source>UpdateUpToDateInfo</source>
        <translation>Tarnwell %1 is currently the newest version available.</translation>
    </message>
    <message>
        <source>UpdateFoundTitle</source>
        <translation>A new version of Tarnwell is available!</translation>
    </message>
    <message>
        <source>UpdateFoundInfo</source>
        <translation>Tarnwell %1 is now available — you have %2. Would you like to install it now?</translation>
    </message>
    <message>
        <source>UpdateSkipThisVersion</source>
        <translation>Skip This Version</translation>
    </message>
    <message>
        <source>UpdateRemindMeLater</source>
        <translation>Remind Me Later</translation>
    </message>
    <message>
        <source>UpdateInstall</source>
        <translation>Install Update</translation>
    </message>
    <message>
        <source>UpdateCancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>UpdateRestartNow</source>
        <translation>Restart Now</translation>
    </message>
    <message>
        <source>UpdateLater</source>
        <translation>Later</translation>
    </message>
    <message>
        <source>UpdateClose</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>UpdateDownloading</source>
        <translation>Downloading update…</translation>
    </message>
    <message>
        <source>UpdateInstalling</source>
        <translation>Installing update…</translation>
    </message>
    <message>
        <source>UpdateInstalledTitle</source>
        <translation>Tarnwell %1 is installed.</translation>
    </message>
    <message>
        <source>UpdateInstalledInfo</source>
        <translation>Restart Tarnwell now to use the new version?</translation>
    </message>
    <message>
        <source>UpdateErrorFeed</source>
        <translation>The update information could not be read.</translation>
    </message>
    <message>
        <source>UpdateErrorDownload</source>
        <translation>The update could not be downloaded.</translation>
    </message>
    <message>
        <source>UpdateErrorVerification</source>
        <translation>The downloaded update failed its integrity check and was deleted.</translation>
    </message>
    <message>
        <source>UpdateErrorInstall</source>
        <translation>The update could not be installed.</translation>
    </message>
    <message>
        <source>UpdateNotificationAvailable</source>
        <translation>Tarnwell %1 is available</translation>
    </message>
    <message>
        <source>UpdateNotificationReady</source>
        <translation>Tarnwell %1 is ready to install</translation>
    </message>
    <message>
        <source>UpdateNotificationInfo</source>
        <translation>Click to see what’s new.</translation>
    </message>
    <message>
        <source>UpdateNotificationShow</source>
        <translation>Show</translation>
    </message>
</context>
</TS>
