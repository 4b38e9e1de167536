// Perspective and transform: maps a raster image through one 3x3 matrix made from four corner
// points or from move, scale and rotation about the centre; draggable on the canvas.
#pragma once

#include "frame/operation_base.h"
#include "operations/geometry/geometry_strings.h"

namespace zt {

// The projective map of the unit square onto four points (x, y each), row-vector form.
void SquareToQuad(const double aQ[8], double aM[9]);
// The map of a rectangle's corners onto a quadrilateral's (four points each, clockwise from
// the upper left): the rectangle's own map inverted, then the quadrilateral's.
void RectToQuad(const double aRect[8], const double aQuad[8], double aM[9]);

// The matrix of "Mode" 0 from the eight point items (fractions of the canvas); false when the
// quadrilateral is degenerate.
bool PerspectiveMatrix(const float aPoints[8], uint32_t aW, uint32_t aH, TMatrix3x3f* aMatrix);
// The matrix of "Mode" 1: rotation and scale about the canvas centre, then the move.
TMatrix3x3f AffineMatrix(float aAngle, const float aScale[2], const float aTranslation[2], uint32_t aW, uint32_t aH);

// Corners of a rectangle mapped through a matrix: floor of the minima, ceil of the maxima.
void MapRect(const float aM[9], TRasterImageRect* aRect);

// "Mode" 0 reads the points (fractions of the canvas), mode 1 the angle, scale and move.
struct SPerspectiveSettings {
    int32_t mode;
    float pt1x, pt1y, pt2x, pt2y, pt3x, pt3y, pt4x, pt4y;
    float angle;
    SVectorF scale, translation;
};

class CDocumentOperationRasterImagePerspective
    : public COperation<CDocumentOperationRasterImagePerspective, IRasterImageFilter, ICanvasInteractingOperation> {
public:
    static constexpr CLSID classId = MakeGuid("a13ec2d9-d8f7-4c05-a998-1e43061f3efc");
    static constexpr uint32_t nameId = IDS_NAME_PERSPECTIVE;
    static const CSchema<SPerspectiveSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT CopyTransformed(IDocument* aSource, IConfig* aConfig, IDocumentBase* aBase, const char16_t* aID) override;
    HRESULT GetTransform(IConfig* aConfig, const TImageSize* aCanvas, TMatrix3x3f* aMatrix) override;

    HRESULT CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                          ICanvasInteractingWrapper** aWrapper) override;
};

}  // namespace zt
