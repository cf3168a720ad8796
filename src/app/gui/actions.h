#pragma once
// What the commands do. Failures are shown in a box titled "Error!".
#include <vector>

#include "app/document/document.h"

namespace vemko::gui {

class MainWindow;

// --- Files
void newCollection(MainWindow& window);
void openWithDialog(MainWindow& window);
/// Asks whether to merge or replace where there is something to lose, once for all the files.
void openFiles(MainWindow& window, const std::vector<Path>& files);
void openRecent(MainWindow& window, std::size_t index);
void closeWindow(MainWindow& window);
/// False when the user wants to keep working on what would be lost.
bool mayDiscard(MainWindow& window);

/// In the file that the collection came from, after telling what that loses. False when nothing was saved.
bool save(MainWindow& window);
bool saveAs(MainWindow& window);
void saveAll(MainWindow& window);

// --- Editing
void undo(MainWindow& window);
void redo(MainWindow& window);
void renameSelected(MainWindow& window);
void deleteSelected(MainWindow& window);
void selectAll(MainWindow& window);
void createItem(MainWindow& window, ItemKind kind);
void moveSelected(MainWindow& window, int steps);
void sortItems(MainWindow& window, app::Document::SortKey key);

/// The selected regions play the selected waveform from now on.
void linkSelectedWaveform(MainWindow& window);
void showProperties(MainWindow& window);
void processSelected(MainWindow& window);

// --- Clipboard
void cutSelected(MainWindow& window);
void copySelected(MainWindow& window);
void paste(MainWindow& window);
void pasteLink(MainWindow& window);

void showPreferences(MainWindow& window);

// --- Help
void showAbout(MainWindow& window);
void showCollectionInformation(MainWindow& window);

}  // namespace vemko::gui
