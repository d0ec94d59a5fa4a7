// What MenuWindow.cpp is for Qt, for GTK: a window with a menu bar that says what becomes of its menu and of
// ctrl+k. The window's title may be given.

#include <gtk/gtk.h>

#include <cstdio>

namespace {

void say(GtkWidget*, const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

void sayWhenActive(GtkWindow* window, GParamSpec*, bool* hasSaidSo) {
    if (gtk_window_is_active(window) && !*hasSaidSo)
        say(nullptr, "active");
    *hasSaidSo = *hasSaidSo || gtk_window_is_active(window);
}

} // namespace

int main(int count, char** arguments) {
    // It would look for the services of a whole desktop first.
    g_setenv("NO_AT_BRIDGE", "1", TRUE);
    g_setenv("GDK_BACKEND", "x11", TRUE);
    gtk_init(&count, &arguments);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), count > 1 ? arguments[1] : "Menu");
    gtk_window_set_default_size(GTK_WINDOW(window), 300, 200);
    bool hasSaidSo = false;
    g_signal_connect(window, "notify::is-active", G_CALLBACK(sayWhenActive), &hasSaidSo);
    g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);

    GtkAccelGroup* shortcuts = gtk_accel_group_new();
    gtk_window_add_accel_group(GTK_WINDOW(window), shortcuts);
    GtkWidget* keep = gtk_menu_item_new_with_label("Keep");
    gtk_widget_add_accelerator(keep, "activate", shortcuts, GDK_KEY_k, GDK_CONTROL_MASK, GTK_ACCEL_VISIBLE);
    g_signal_connect(keep, "activate", G_CALLBACK(say), const_cast<char*>("ctrl+k"));
    GtkWidget* menu = gtk_menu_new();
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), keep);
    g_signal_connect(menu, "map", G_CALLBACK(say), const_cast<char*>("menu opened"));
    g_signal_connect(menu, "unmap", G_CALLBACK(say), const_cast<char*>("menu closed"));
    GtkWidget* file = gtk_menu_item_new_with_mnemonic("_File");
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(file), menu);
    GtkWidget* bar = gtk_menu_bar_new();
    gtk_menu_shell_append(GTK_MENU_SHELL(bar), file);
    GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_pack_start(GTK_BOX(box), bar, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_widget_show_all(window);
    gtk_main();
    return 0;
}
