// Short texts of the kinds that the string compressor is for. Its code tables were made without them: what they shrink
// to says how it does on texts that it has not seen. Keep them out of tools/stringtables.
#pragma once

namespace ZelkTest {

inline constexpr const char* MIXED_TEXTS[] = {
    // names
    "Margarethe Lindqvist",
    "Tobias O'Connor",
    "SilentHarpoon77",
    "the_quiet_fox",
    "Captain Bellweather",
    "Yusuf Demir",
    "xX_Nightjar_Xx",
    "Old Harbour Warehouse",
    // chat lines
    "anyone up for one more round before dinner?",
    "gg everyone, that last push was amazing!",
    "can somebody drop me some ammo, I am out",
    "wait for me at the bridge, I need 2 minutes",
    "lol nice try",
    "They are coming from the left side, behind the mill.",
    "I'll be back in a moment, my phone is ringing",
    "thanks for the help yesterday, we finally finished the whole thing",
    "who has the key to the north gate?",
    "No idea, ask Brian. He was here when it happened.",
    "we should split up and search the basement first",
    "does this server restart every night at 3 or at 4?",
    "Sorry, I pressed the wrong button and left the group.",
    "is it just me or is the ping really bad today",
    "my brother says the new map is much better than the old one",
    "ok see you all tomorrow, good night",
    "Please do not leave your post until the convoy has passed through the valley.",
    "hold your fire until they reach the fence, then throw everything you have",
    "if we take the boat across the lake we can get behind their lines without being seen",
    "I will not be able to play this weekend because my parents are visiting us, but have fun!",
    "the trick is to jump just before the platform starts moving, otherwise you will fall into the water",
    "Can you send me the pictures of the trip when you are home? I would like to show them to my friends.",
    "there is a small cabin in the forest where you can find a map and some food for the journey",
    "remember to turn off the lights when you leave the building, the guards will notice otherwise",
    "We have been trying for three hours and still cannot get past the second room of the temple.",
    // labels and messages
    "Press any key to continue",
    "Mouse sensitivity",
    "Connection to the server was lost.",
    "Unlock the second weapon slot",
    "Resolution: 1920 x 1080",
    "Low memory (less than 64 MB left)",
    "MISSION FAILED",
    "Start a new game in the selected folder",
    "Texture quality: high",
    "SAVE AND QUIT",
    "Reload when the magazine is empty",
    "Your profile could not be written. Check that the disk is not full.",
    "The host has closed this session and you have returned to the main menu.",
    "Player 12 has joined the red team",
    "Deliver the medicine to the doctor in the mountain village before the sun goes down.",
    "This action cannot be undone. All progress since the last checkpoint will be lost.",
    "The selected language will be used the next time that you start the game.",
    "Our scouts report that the enemy is gathering near the old monastery. Take the second platoon, cross the river "
    "during the night and secure the crossroads. Expect reinforcements at sunrise.",
    "sorry that I could not answer earlier, we had visitors and the computer was switched off. I like your idea with "
    "the "
    "two towers, but the walls should be a little thicker. we can talk about it on sunday if you want",
    "this version fixes the problem with the missing sound on some machines and makes the loading of large maps faster",
    // file names
    "levels/harbour/dock_gate_02.mesh",
    "sounds/ambient/rain_on_metal_roof.ogg",
    "C:\\Games\\Saves\\autosave_0147.dat",
    "textures/wood_planks_dark_normal.dds",
    "readme.txt",
    "screenshots/2011-08-23/shot0031.jpg",
    "scripts/missions/escort_convoy.lua",
    "config/keyboard_default.cfg",
    // numbers
    "127.0.0.1",
    "250000",
    "12 of 30",
    "-18.75",
    "99%",
    "1,250,000",
    "2013-11-05 18:42",
    "$4.99",
};

inline constexpr const char* WORD_TEXTS[] = {
    "it was already late in the evening when the two of them came down from the hill and saw the lights of the little "
    "town below them",
    "nobody in the village remembered who had built the old stone wall but everyone agreed that it should stay exactly "
    "where it was",
    "please bring a warm coat and some good shoes because the path along the river will be wet and the wind is cold at "
    "this time of the year",
    "she counted the boxes again and found that three of them were missing since the morning but nobody in the office "
    "had "
    "seen anyone go in or out and the lock on the door was not broken so she called the manager and waited",
    "after the storm the children ran to the beach to see what the waves had left there for them and came home with a "
    "bottle a piece of rope and half of an old wooden chair which their mother did not want to have in the house",
    "the engine made a strange noise and then stopped so we had to push the car all the way back to the garage",
    "there is nothing better than a quiet hour with a book and a cup of tea while the rain falls on the roof",
    "if you follow the road to the end you will find a gate and behind it a garden that has not been looked after for "
    "many years",
};

} // namespace ZelkTest
