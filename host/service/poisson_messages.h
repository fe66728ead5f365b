// What the solvers of Poisson's equation say: three lines a message and the number that it is about, between a heading and
// two closing lines. The lines for Fortran count elements from 1.
#pragma once

#include "host/service/messages.h"

namespace tnk::host {

constexpr Message poisson_catalog[] = {
    {488, "Solvers of Poisson's and Helmholtz' equation:"},
    {489, "Entries and statuses are told in tnk/pde_poisson.h."},
    {490, "Messages are silenced, or sent to a log file, by the second and third entry of ipar."},
    // Fortran
    {500, "The grid needs 1 or more cells along x."},
    {501, "Their number is nx, kept in ipar(11)."},
    {502, "Call the routine that begins a problem with a positive nx. Found:"},
    {503, "The grid needs 1 or more cells along y."},
    {504, "Their number is ny, kept in ipar(12)."},
    {505, "Call the routine that begins a problem with a positive ny. Found:"},
    {506, "The sides of the grid, or their code, are not right."},
    {507,
     "Each side is 0 or 1, from ipar(5) on, and the code in ipar(4) has them as its bits, ax the highest."},
    {508, "Give each side by a letter D or N, and leave the entries to the routine that begins a problem. "
          "Code found:"},
    {509, "The grid has no extent along x."},
    {510, "It is bx - ax, kept in dpar(1), and must be positive."},
    {511, "Give ax and bx in ascending order. Found:"},
    {512, "The grid has no extent along y."},
    {513, "It is by - ay, kept in dpar(2), and must be positive."},
    {514, "Give ay and by in ascending order. Found:"},
    {515, "The spectrum cannot be computed."},
    {516, "A number of cells, or a step of the grid, is 0."},
    {517, "A commit that skips its checks needs the steps of an earlier one."},
    {518, "The problem is not in a state to go on from."},
    {519, "It is kept in ipar(1): an earlier call failed, or it is none that commit knows."},
    {520, "Begin the problem anew, or set the entry as the call allows. Found:"},
    {521, "A Fourier transform could not be freed."},
    {522, "Its handle is not that of a transform, or was freed before."},
    {523, "Free each handle once, with the entries that it was made with."},
    {524, "The grid needs 1 or more cells along z."},
    {525, "Their number is nz, kept in ipar(13)."},
    {526, "Call the routine that begins a problem with a positive nz. Found:"},
    {527, "The grid has no extent along z."},
    {528, "It is bz - az, kept in dpar(3), and must be positive."},
    {529, "Give az and bz in ascending order. Found:"},
    {530, "Warning: the problem is singular, with slopes on all sides and q of 0."},
    {531, "It has solutions for balanced right-hand sides only; a constant was taken off to balance this "
          "one, and the solution without a mean was computed."},
    {532, "If the constant is not as small as rounding explains, the problem as given has no solution. Taken "
          "off:"},
    {533, "Warning: the layout of the entries is not the one that commit made."},
    {534, "First and last places of spectra and tables stand in ipar(14) to ipar(21)."},
    {535, "Leave them as they are; the equations were solved with what stands there. First one found:"},
    {536, "Warning: q is negative."},
    {537, "It is kept in dpar(4). The equations may be singular, or nearly so, which is not found out."},
    {538, "Look at the size of the solution before it is used. Found:"},
    // C
    {539, "The grid needs 1 or more cells along x."},
    {540, "Their number is nx, kept in ipar[10]."},
    {541, "Call the routine that begins a problem with a positive nx. Found:"},
    {542, "The grid needs 1 or more cells along y."},
    {543, "Their number is ny, kept in ipar[11]."},
    {544, "Call the routine that begins a problem with a positive ny. Found:"},
    {545, "The sides of the grid, or their code, are not right."},
    {546,
     "Each side is 0 or 1, from ipar[4] on, and the code in ipar[3] has them as its bits, ax the highest."},
    {547, "Give each side by a letter D or N, and leave the entries to the routine that begins a problem. "
          "Code found:"},
    {548, "The grid has no extent along x."},
    {549, "It is bx - ax, kept in dpar[0], and must be positive."},
    {550, "Give ax and bx in ascending order. Found:"},
    {551, "The grid has no extent along y."},
    {552, "It is by - ay, kept in dpar[1], and must be positive."},
    {553, "Give ay and by in ascending order. Found:"},
    {554, "The spectrum cannot be computed."},
    {555, "A number of cells, or a step of the grid, is 0."},
    {556, "A commit that skips its checks needs the steps of an earlier one."},
    {557, "The problem is not in a state to go on from."},
    {558, "It is kept in ipar[0]: an earlier call failed, or it is none that commit knows."},
    {559, "Begin the problem anew, or set the entry as the call allows. Found:"},
    {560, "A Fourier transform could not be freed."},
    {561, "Its handle is not that of a transform, or was freed before."},
    {562, "Free each handle once, with the entries that it was made with."},
    {563, "The grid needs 1 or more cells along z."},
    {564, "Their number is nz, kept in ipar[12]."},
    {565, "Call the routine that begins a problem with a positive nz. Found:"},
    {566, "The grid has no extent along z."},
    {567, "It is bz - az, kept in dpar[2], and must be positive."},
    {568, "Give az and bz in ascending order. Found:"},
    {569, "Warning: the problem is singular, with slopes on all sides and q of 0."},
    {570, "It has solutions for balanced right-hand sides only; a constant was taken off to balance this "
          "one, and the solution without a mean was computed."},
    {571, "If the constant is not as small as rounding explains, the problem as given has no solution. Taken "
          "off:"},
    {572, "Warning: the layout of the entries is not the one that commit made."},
    {573, "First and last places of spectra and tables stand in ipar[13] to ipar[20]."},
    {574, "Leave them as they are; the equations were solved with what stands there. First one found:"},
    {575, "Warning: q is negative."},
    {576, "It is kept in dpar[3]. The equations may be singular, or nearly so, which is not found out."},
    {577, "Look at the size of the solution before it is used. Found:"},
};
static_assert(is_well_formed(poisson_catalog, sizeof poisson_catalog / sizeof *poisson_catalog));

} // namespace tnk::host
