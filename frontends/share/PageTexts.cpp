#include "PageTexts.h"

namespace frontend::share {
namespace {

struct Text {
  std::string_view key;
  std::string_view english;
  std::string_view german;
};

// clang-format off
constexpr Text texts[] = {
    {"state-idle", "Ready to scan", "Bereit"},
    {"state-processing", "In use", "In Benutzung"},
    {"state-down", "Not connected", "Nicht angeschlossen"},
    {"state-unreachable", "The server cannot be reached", "Der Server ist nicht erreichbar"},

    {"scan-heading", "Scan this page", "Diese Seite scannen"},
    {"settings", "Place the page on the glass, face down, and choose:",
     "Legen Sie die Seite mit der Schrift nach unten auf das Glas und wählen Sie:"},
    {"needs-script", "Scanning from this page needs JavaScript. Programs do not need it: see the list.",
     "Zum Scannen von dieser Seite aus muss JavaScript eingeschaltet sein. Programme brauchen es nicht: siehe Liste."},
    {"format", "Format", "Format"},
    {"lossless", "lossless", "verlustfrei"},
    {"mode", "Mode", "Modus"},
    {"mode-color", "Colour", "Farbe"},
    {"mode-gray", "Grey", "Graustufen"},
    {"mode-lineart", "Black and white", "Schwarzweiß"},
    {"resolution", "Resolution", "Auflösung"},
    {"quick", "quick", "schnell"},
    {"usual", "usual", "üblich"},
    {"fine", "fine, large file", "fein, große Datei"},
    {"scan", "Scan", "Scannen"},
    {"cancel", "Cancel", "Abbrechen"},
    {"progress", "Scanning", "Scan läuft"},
    {"save", "Save the file", "Datei speichern"},

    {"starting", "Starting the scanner …", "Der Scanner wird gestartet …"},
    {"warming", "The lamp is warming up …", "Die Lampe wärmt sich auf …"},
    {"scanning", "Scanning …", "Die Seite wird gescannt …"},
    {"receiving", "Receiving the page …", "Die Seite wird übertragen …"},
    {"done", "Done:", "Fertig:"},
    {"canceled", "The scan was cancelled.", "Der Scan wurde abgebrochen."},
    {"busy", "The scanner is in use or not connected. Try again in a moment.",
     "Der Scanner ist in Benutzung oder nicht angeschlossen. Versuchen Sie es gleich noch einmal."},
    {"failed", "The scan failed.", "Der Scan ist fehlgeschlagen."},
    {"lost", "The connection to the server was lost.", "Die Verbindung zum Server ist abgebrochen."},

    {"programs-heading", "Scan with a program", "Mit einem Programm scannen"},
    {"programs-intro", "Programs that support eSCL (AirScan) use this scanner without a driver.",
     "Programme, die eSCL (AirScan) unterstützen, nutzen diesen Scanner ohne Treiber."},
    {"reach-network", "Computers, tablets and phones in this network find it automatically.",
     "Computer, Tablets und Smartphones in diesem Netz finden ihn automatisch."},
    {"reach-address", "Computers, tablets and phones in this network can use it by its address, see below.",
     "Computer, Tablets und Smartphones in diesem Netz können ihn über seine Adresse nutzen, siehe unten."},
    {"reach-machine",
     "At present only programs on this computer can use it. An administrator can open it to the network in "
     "/etc/quenvar/share.conf.",
     "Zurzeit können ihn nur Programme auf diesem Computer nutzen. Ein Administrator kann ihn in "
     "/etc/quenvar/share.conf für das Netz freigeben."},
    {"on-linux", "Document Scanner and every program that uses SANE, through the package sane-airscan",
     "Dokument-Scanner und alle Programme, die SANE benutzen, mit dem Paket sane-airscan"},
    {"on-macos", "Image Capture, Preview", "Digitale Bilder, Vorschau"},
    {"on-windows", "Windows 11: Settings, Bluetooth & devices, Printers & scanners, Add device; then the Scan app",
     "Windows 11: Einstellungen, Bluetooth und Geräte, Drucker und Scanner, Gerät hinzufügen; dann die App Scan"},
    {"on-chromeos", "the Scan app", "die App Scan"},
    {"on-android", "Mopria Scan", "Mopria Scan"},
    {"on-ios", "this page, or an app for AirScan", "diese Seite oder eine App für AirScan"},
    {"by-address", "If a program does not list the scanner, add it by its address:",
     "Zeigt ein Programm den Scanner nicht an, fügen Sie ihn über seine Adresse hinzu:"},
    {"about", "Shared by q750-share. Scanned pages are not kept.",
     "Freigegeben von q750-share. Gescannte Seiten werden nicht aufbewahrt."},
};
// clang-format on

}  // namespace

std::string_view pageText(std::string_view key, PageLanguage language) {
  for (const Text& text : texts) {
    if (text.key == key) return language == PageLanguage::german ? text.german : text.english;
  }
  return {};
}

}  // namespace frontend::share
