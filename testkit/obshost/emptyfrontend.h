// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// OBS's front-end interface with empty functions, as base of a front end that implements only some of them.
#include <obs-frontend-internal.hpp>

// clang-format off
struct EmptyFrontend : obs_frontend_callbacks {
    void *obs_frontend_get_main_window() override { return nullptr; }
    obs_source_t *obs_frontend_get_current_scene() override { return nullptr; }
    bool obs_frontend_add_dock_by_id(const char *, const char *, void *) override { return false; }
    void obs_frontend_remove_dock(const char *) override {}
    void *obs_frontend_get_main_window_handle() override { return nullptr; }
    void *obs_frontend_get_system_tray() override { return nullptr; }
    void obs_frontend_get_scenes(obs_frontend_source_list *) override {}
    void obs_frontend_set_current_scene(obs_source_t *) override {}
    void obs_frontend_get_transitions(obs_frontend_source_list *) override {}
    obs_source_t *obs_frontend_get_current_transition() override { return nullptr; }
    void obs_frontend_set_current_transition(obs_source_t *) override {}
    int obs_frontend_get_transition_duration() override { return 0; }
    void obs_frontend_set_transition_duration(int) override {}
    void obs_frontend_release_tbar() override {}
    int obs_frontend_get_tbar_position() override { return 0; }
    void obs_frontend_set_tbar_position(int) override {}
    void obs_frontend_get_scene_collections(std::vector<std::string> &) override {}
    char *obs_frontend_get_current_scene_collection() override { return nullptr; }
    void obs_frontend_set_current_scene_collection(const char *) override {}
    bool obs_frontend_add_scene_collection(const char *) override { return false; }
    void obs_frontend_get_profiles(std::vector<std::string> &) override {}
    char *obs_frontend_get_current_profile() override { return nullptr; }
    char *obs_frontend_get_current_profile_path() override { return nullptr; }
    void obs_frontend_set_current_profile(const char *) override {}
    void obs_frontend_create_profile(const char *) override {}
    void obs_frontend_duplicate_profile(const char *) override {}
    void obs_frontend_delete_profile(const char *) override {}
    void obs_frontend_streaming_start() override {}
    void obs_frontend_streaming_stop() override {}
    bool obs_frontend_streaming_active() override { return false; }
    void obs_frontend_recording_start() override {}
    void obs_frontend_recording_stop() override {}
    bool obs_frontend_recording_active() override { return false; }
    void obs_frontend_recording_pause(bool) override {}
    bool obs_frontend_recording_paused() override { return false; }
    bool obs_frontend_recording_split_file() override { return false; }
    bool obs_frontend_recording_add_chapter(const char *) override { return false; }
    void obs_frontend_replay_buffer_start() override {}
    void obs_frontend_replay_buffer_save() override {}
    void obs_frontend_replay_buffer_stop() override {}
    bool obs_frontend_replay_buffer_active() override { return false; }
    void *obs_frontend_add_tools_menu_qaction(const char *) override { return nullptr; }
    void obs_frontend_add_tools_menu_item(const char *, obs_frontend_cb, void *) override {}
    void *obs_frontend_add_dock(void *) override { return nullptr; }
    bool obs_frontend_add_custom_qdock(const char *, void *) override { return false; }
    void obs_frontend_add_event_callback(obs_frontend_event_cb, void *) override {}
    void obs_frontend_remove_event_callback(obs_frontend_event_cb, void *) override {}
    obs_output_t *obs_frontend_get_streaming_output() override { return nullptr; }
    obs_output_t *obs_frontend_get_recording_output() override { return nullptr; }
    obs_output_t *obs_frontend_get_replay_buffer_output() override { return nullptr; }
    config_t *obs_frontend_get_profile_config() override { return nullptr; }
    config_t *obs_frontend_get_global_config() override { return nullptr; }
    config_t *obs_frontend_get_app_config() override { return nullptr; }
    config_t *obs_frontend_get_user_config() override { return nullptr; }
    void obs_frontend_open_projector(const char *, int, const char *, const char *) override {}
    void obs_frontend_save() override {}
    void obs_frontend_defer_save_begin() override {}
    void obs_frontend_defer_save_end() override {}
    void obs_frontend_add_save_callback(obs_frontend_save_cb, void *) override {}
    void obs_frontend_remove_save_callback(obs_frontend_save_cb, void *) override {}
    void obs_frontend_add_preload_callback(obs_frontend_save_cb, void *) override {}
    void obs_frontend_remove_preload_callback(obs_frontend_save_cb, void *) override {}
    void obs_frontend_push_ui_translation(obs_frontend_translate_ui_cb) override {}
    void obs_frontend_pop_ui_translation() override {}
    obs_service_t *obs_frontend_get_streaming_service() override { return nullptr; }
    void obs_frontend_set_streaming_service(obs_service_t *) override {}
    void obs_frontend_save_streaming_service() override {}
    bool obs_frontend_preview_program_mode_active() override { return false; }
    void obs_frontend_set_preview_program_mode(bool) override {}
    void obs_frontend_preview_program_trigger_transition() override {}
    bool obs_frontend_preview_enabled() override { return false; }
    void obs_frontend_set_preview_enabled(bool) override {}
    obs_source_t *obs_frontend_get_current_preview_scene() override { return nullptr; }
    void obs_frontend_set_current_preview_scene(obs_source_t *) override {}
    void on_load(obs_data_t *) override {}
    void on_preload(obs_data_t *) override {}
    void on_save(obs_data_t *) override {}
    void on_event(enum obs_frontend_event) override {}
    void obs_frontend_take_screenshot() override {}
    void obs_frontend_take_source_screenshot(obs_source_t *) override {}
    obs_output_t *obs_frontend_get_virtualcam_output() override { return nullptr; }
    void obs_frontend_start_virtualcam() override {}
    void obs_frontend_stop_virtualcam() override {}
    bool obs_frontend_virtualcam_active() override { return false; }
    void obs_frontend_reset_video() override {}
    void obs_frontend_open_source_properties(obs_source_t *) override {}
    void obs_frontend_open_source_filters(obs_source_t *) override {}
    void obs_frontend_open_source_interaction(obs_source_t *) override {}
    void obs_frontend_open_sceneitem_edit_transform(obs_sceneitem_t *) override {}
    char *obs_frontend_get_current_record_output_path() override { return nullptr; }
    const char *obs_frontend_get_locale_string(const char *) override { return nullptr; }
    bool obs_frontend_is_theme_dark() override { return false; }
    char *obs_frontend_get_last_recording() override { return nullptr; }
    char *obs_frontend_get_last_screenshot() override { return nullptr; }
    char *obs_frontend_get_last_replay() override { return nullptr; }
    void obs_frontend_add_undo_redo_action(const char *, const undo_redo_cb, const undo_redo_cb, const char *, const char *,
                                           bool) override {}
    obs_canvas_t *obs_frontend_add_canvas(const char *, obs_video_info *, int) override { return nullptr; }
    bool obs_frontend_remove_canvas(obs_canvas_t *) override { return false; }
    void obs_frontend_get_canvases(obs_frontend_canvas_list *) override {}
};
// clang-format on
